#include "AuthService.h"

#include "KeychainService.h"
#include "Models/VerifyResponse.h"
#include "Platform/Folders.h"
#include "Platform/ProcessNames.h"
#include "Platform/UserDefaults.h"
#include "Utilities/Deployment.h"
#include "Utilities/Log.h"
#include "Utilities/Text.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QUuid>
#include <map>

using namespace std::chrono_literals;

namespace {

constexpr auto requestTimeout = 60s;

// Credential keys.
const QString tokenKey = QStringLiteral("auth_token");
const QString userIdKey = QStringLiteral("user_id");
const QString displayNameKey = QStringLiteral("display_name");
const QString userAPIKeyKey = QStringLiteral("user_api_key");
const QString retiredAPIKeyKey = QStringLiteral("api_key");

// User-defaults keys.
const QString stateKey = QStringLiteral("oauth_state");
const QString lastUserIdKey = QStringLiteral("lastUserId");
const QString needsReconfigureKey = QStringLiteral("needsReconfigureSoftware");

/// The text that percent-encoding stands for; none when it is not UTF-8.
std::optional<QString> decodedText(QStringView encoded)
{
    const QString text = QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.toUtf8()));
    return text.contains(QChar::ReplacementCharacter) ? std::nullopt : std::optional(text);
}

/// The query's items that have a value, each name's first one only.
std::map<QString, QString> firstItems(const QUrl &url)
{
    if (!url.isValid())
        return {};
    std::map<QString, std::optional<QString>> items;
    const QString query = url.query(QUrl::FullyEncoded);
    for (const QStringView item : QStringView(query).split(u'&')) {
        const qsizetype equals = item.indexOf(u'=');
        const auto name = decodedText(equals < 0 ? item : item.first(equals));
        if (name)
            items.try_emplace(*name, equals < 0 ? std::nullopt : decodedText(item.sliced(equals + 1)));
    }
    std::map<QString, QString> present;
    for (const auto &[name, value] : items)
        if (value)
            present.emplace(name, *value);
    return present;
}

QNetworkRequest authorizedRequest(const QString &address, const QString &token)
{
    QNetworkRequest request{QUrl(address)};
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    return request;
}

/// OpenClaw's and Ollama's programs. The gateway renames itself, and older versions of Ollama run each model in a
/// program of its own; the newer ones' runner has Ollama's name.
const QStringList agentProcesses{QStringLiteral("openclaw"), QStringLiteral("openclaw-gateway"),
                                 QStringLiteral("ollama"), QStringLiteral("ollama_llama_server")};

/// Moves the file out of the way, beside where it stood: "NAME.2026-11-23-160000".
void setAside(const QString &path)
{
    const QString copy = path + QDateTime::currentDateTime().toString(u".yyyy-MM-dd-HHmmss");
    QString free = copy;
    for (int number = 2; QFileInfo::exists(free) || QFileInfo(free).isSymLink(); ++number)
        free = copy + u'-' + QString::number(number);
    if (QFileInfo::exists(path) && !QFile::rename(path, free))
        Log::line(QStringLiteral("[Auth] 无法移走上一个账号的配置 ") + path);
}

} // namespace

AuthService &AuthService::shared()
{
    static AuthService service({Deployment::loginOrigin(), Deployment::accountOrigin()}, KeychainService::shared(),
                               UserDefaults::shared(), Folders::user(), endProcesses);
    return service;
}

AuthService::AuthService(Servers servers, KeychainService &keychain, UserDefaults &defaults, const Folders &folders,
                         ProcessEnder endProcesses, QObject *parent)
    : QObject(parent)
    , m_servers(std::move(servers))
    , m_keychain(keychain)
    , m_defaults(defaults)
    , m_folders(folders)
    , m_endProcesses(std::move(endProcesses))
    , m_session({.silence = requestTimeout, .exchange = requestTimeout})
{
    restore();
}

void AuthService::restore()
{
    const auto token = m_keychain.get(tokenKey);
    const auto userId = token ? m_keychain.get(userIdKey) : std::nullopt;
    if (!userId)
        return;
    publish(true, *userId, m_keychain.get(displayNameKey).value_or(QString()));
    if (!m_defaults.text(lastUserIdKey))
        m_defaults.setText(lastUserIdKey, *userId);
    verifyToken(*token);
}

void AuthService::publish(bool isLoggedIn, const QString &userId, const QString &displayName)
{
    m_isLoggedIn = isLoggedIn;
    m_userId = userId;
    m_displayName = displayText(displayName);
    Q_EMIT changed();
}

QUrl AuthService::makeLoginURL()
{
    const QString state = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    m_defaults.setText(stateKey, state);
    const QString callback = m_servers.accountOrigin + QStringLiteral("/auth/callback");
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(callback, "!$&'()*+,;=:@/?"));
    return QUrl(m_servers.loginOrigin + QStringLiteral("/authorize?client_id=vaelix&redirect_uri=") + encoded
                    + QStringLiteral("&state=") + state,
                QUrl::StrictMode);
}

void AuthService::handleCallback(const QUrl &url)
{
    const auto items = firstItems(url);
    const auto token = items.find(QStringLiteral("token"));
    const auto userId = items.find(QStringLiteral("user_id"));
    if (token == items.end() || userId == items.end())
        return;

    const auto lastUserId = m_defaults.text(lastUserIdKey);
    if (lastUserId && *lastUserId != userId->second) {
        stopAndClearSoftwareConfigs();
        m_defaults.setTrue(needsReconfigureKey, true);
    }
    m_defaults.setText(lastUserIdKey, userId->second);

    m_keychain.save(tokenKey, token->second);
    m_keychain.save(userIdKey, userId->second);
    if (const auto key = items.find(QStringLiteral("api_key")); key != items.end())
        m_keychain.save(userAPIKeyKey, key->second);
    const auto name = items.find(QStringLiteral("display_name"));
    if (name != items.end())
        m_keychain.save(displayNameKey, name->second);
    publish(true, userId->second, name != items.end() ? name->second : QString());
    Q_EMIT activationRequested();
}

void AuthService::stopAndClearSoftwareConfigs()
{
    m_endProcesses(agentProcesses);
    setAside(m_folders.home + QStringLiteral("/.openclaw/openclaw.json"));
}

QCoro::Task<> AuthService::verifyToken(QString token)
{
    const QPointer self(this);
    const auto answer = co_await m_session.send(
        authorizedRequest(m_servers.accountOrigin + QStringLiteral("/auth/verify"), token), "GET", {});
    if (!self || !answer)
        co_return;
    const auto response = decodeJSON(answer->body, decodeVerifyResponse);
    // The answer is about the token that was asked for, not about one that a later login brought.
    if (response && response->code != 0 && m_keychain.get(tokenKey) == token)
        logout();
}

void AuthService::logout()
{
    const auto token = m_keychain.get(tokenKey);
    for (const QString &key : {tokenKey, retiredAPIKeyKey, userIdKey, displayNameKey, userAPIKeyKey})
        m_keychain.remove(key);
    publish(false, {}, {});
    if (token)
        tellServerOfLogout(*token);
}

QCoro::Task<> AuthService::tellServerOfLogout(QString token)
{
    co_await m_session.send(authorizedRequest(m_servers.accountOrigin + QStringLiteral("/auth/logout"), token), "POST",
                            {});
}
