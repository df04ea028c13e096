#include "Accounts.h"

#include <QRandomGenerator>
#include <algorithm>
#include <array>

using namespace std::chrono_literals;

namespace devserver {

namespace {

constexpr auto tokenLifetime = 30 * 24h;

QString randomText()
{
    std::array<quint32, 8> words;
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    const auto bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(words.data()), sizeof(words));
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

const Account *find(const QList<Account> &accounts, QStringView value, QString Account::*field)
{
    const auto account = std::ranges::find(accounts, value, field);
    return account == accounts.end() ? nullptr : &*account;
}

} // namespace

Accounts::Accounts(QList<Account> accounts)
    : m_accounts(std::move(accounts))
{
}

const Account *Accounts::withId(QStringView userId) const
{
    return find(m_accounts, userId, &Account::userId);
}

const Account *Accounts::withPhone(QStringView phone) const
{
    return find(m_accounts, phone, &Account::phone);
}

const Account *Accounts::withAPIKey(QStringView apiKey) const
{
    return find(m_accounts, apiKey, &Account::apiKey);
}

void Accounts::setPassword(const QString &userId, const QString &password)
{
    const auto account = std::ranges::find(m_accounts, userId, &Account::userId);
    if (account != m_accounts.end())
        account->password = password;
}

QString Accounts::sendPhoneCode(const Account &account)
{
    const int code = QRandomGenerator::system()->bounded(1'000'000);
    return *m_phoneCodes.insert(account.userId, QStringLiteral("%1").arg(code, 6, 10, QLatin1Char('0')));
}

bool Accounts::takePhoneCode(const Account &account, QStringView code)
{
    const auto sent = m_phoneCodes.constFind(account.userId);
    if (sent == m_phoneCodes.cend() || *sent != code)
        return false;
    m_phoneCodes.erase(sent);
    return true;
}

QString Accounts::issueLoginCode(const Account &account)
{
    return m_loginCodes.insert(randomText(), account.userId).key();
}

const Account *Accounts::takeLoginCode(const QString &code)
{
    return withId(m_loginCodes.take(code));
}

QString Accounts::issueToken(const Account &account)
{
    return m_tokens.insert(randomText(), {account.userId, Clock::now() + tokenLifetime}).key();
}

std::expected<Account, QString> Accounts::accountOfToken(const QString &token) const
{
    const auto entry = m_tokens.constFind(token);
    const Account *account = entry == m_tokens.cend() ? nullptr : withId(entry->userId);
    if (!account)
        return std::unexpected(QStringLiteral("未登录或登录已失效"));
    if (Clock::now() >= entry->expiry)
        return std::unexpected(QStringLiteral("登录已过期"));
    return *account;
}

void Accounts::revokeToken(const QString &token)
{
    m_tokens.remove(token);
}

void Accounts::expireTokens(const QString &userId)
{
    for (Token &token : m_tokens) {
        if (userId.isEmpty() || token.userId == userId)
            token.expiry = Clock::now();
    }
}

void Accounts::revokeTokens(const QString &userId)
{
    m_tokens.removeIf([&](const auto &entry) { return userId.isEmpty() || entry->userId == userId; });
}

} // namespace devserver
