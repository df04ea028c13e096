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

QNetworkRequest authorizedRequest(const QString &address, const QString &token)
{
    QNetworkRequest request{QUrl(address)};
    request.setRawHeader("Authorization", "Bearer " + token.toUtf8());
    return request;
}

QString newState()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

/// So much of a text as a question can show.
QString shortened(const QString &text)
{
    constexpr qsizetype limit = 40;
    return text.size() <= limit ? text : text.first(limit) + u'…';
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
    return makeLoginURL(newState());
}

QUrl AuthService::beginBrowserLogin()
{
    m_browserLoginState = newState();
    return makeLoginURL(m_browserLoginState);
}

QUrl AuthService::makeLoginURL(const QString &state)
{
    m_defaults.setText(stateKey, state);
    const QString callback = m_servers.accountOrigin + QStringLiteral("/auth/callback");
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(callback, "!$&'()*+,;=:@/?"));
    return QUrl(m_servers.loginOrigin + QStringLiteral("/authorize?client_id=vaelix&redirect_uri=") + encoded
                    + QStringLiteral("&state=") + state,
                QUrl::StrictMode);
}

std::optional<LoginCallback> AuthService::readCallback(const QUrl &url)
{
    auto callback = LoginCallback::read(url);
    if (callback)
        return *std::move(callback);
    if (callback.error() == LoginCallback::Fault::Unacceptable)
        Q_EMIT callbackRefused(QStringLiteral("登录地址中含有不允许的字符，已拒绝。当前账户没有改变。"));
    return {};
}

void AuthService::handleCallback(const QUrl &url)
{
    if (const auto callback = readCallback(url))
        signIn(*callback);
}

void AuthService::handleOpenedAddress(const QUrl &url)
{
    if (m_offer)
        return;
    const auto callback = readCallback(url);
    if (!callback)
        return;
    if (!m_browserLoginState.isEmpty() && callback->state == m_browserLoginState)
        signIn(*callback);
    else
        setOffer(callback);
}

QString AuthService::offeredAccount() const
{
    if (!m_offer)
        return {};
    const QString name = shortened(m_offer->displayName.value_or(QString()));
    const QString id = shortened(m_offer->userId);
    return name.isEmpty() ? id : QStringLiteral("%1（%2）").arg(name, id);
}

void AuthService::acceptOffer()
{
    const auto offer = m_offer;
    setOffer({});
    if (offer)
        signIn(*offer);
}

void AuthService::declineOffer()
{
    setOffer({});
}

void AuthService::setOffer(const std::optional<LoginCallback> &offer)
{
    m_offer = offer;
    Q_EMIT offeredAccountChanged();
}

void AuthService::signIn(const LoginCallback &callback)
{
    m_browserLoginState.clear();
    const auto lastUserId = m_defaults.text(lastUserIdKey);
    if (lastUserId && *lastUserId != callback.userId) {
        stopAndClearSoftwareConfigs();
        m_defaults.setTrue(needsReconfigureKey, true);
    }
    m_defaults.setText(lastUserIdKey, callback.userId);

    m_keychain.save(tokenKey, callback.token);
    m_keychain.save(userIdKey, callback.userId);
    if (callback.apiKey)
        m_keychain.save(userAPIKeyKey, *callback.apiKey);
    if (callback.displayName)
        m_keychain.save(displayNameKey, *callback.displayName);
    publish(true, callback.userId, callback.displayName.value_or(QString()));
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
