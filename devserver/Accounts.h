#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <chrono>
#include <expected>

namespace devserver {

/// Somebody who can sign in.
struct Account {
    QString userId;
    QString displayName;
    QString phone;
    QString password;
    QString role;
    QString apiKey;
};

/// The accounts, and what was given out for them: phone codes, login codes and tokens, all random.
class Accounts
{
public:
    Accounts() = default;
    explicit Accounts(QList<Account> accounts);

    const QList<Account> &all() const { return m_accounts; }

    /// The account, or nothing; valid while this object is.
    const Account *withId(QStringView userId) const;
    const Account *withPhone(QStringView phone) const;
    const Account *withAPIKey(QStringView apiKey) const;

    void setPassword(const QString &userId, const QString &password);

    /// Six digits that stand for the account's password once; they replace the ones sent before.
    QString sendPhoneCode(const Account &account);
    /// Whether these are the digits sent last; if so they are used up.
    bool takePhoneCode(const Account &account, QStringView code);

    /// What a finished login page exchanges for a token, once.
    QString issueLoginCode(const Account &account);
    const Account *takeLoginCode(const QString &code);

    /// A token that is good for thirty days.
    QString issueToken(const Account &account);
    /// The error is a Chinese sentence saying why nobody is signed in with this token.
    std::expected<Account, QString> accountOfToken(const QString &token) const;
    void revokeToken(const QString &token);

    // For the tokens of one account, or of all when the id is empty.
    void expireTokens(const QString &userId);
    void revokeTokens(const QString &userId);

private:
    using Clock = std::chrono::steady_clock;

    struct Token {
        QString userId;
        Clock::time_point expiry;
    };

    QList<Account> m_accounts;
    QHash<QString, QString> m_phoneCodes; // by user id
    QHash<QString, QString> m_loginCodes; // user ids by code
    QHash<QString, Token> m_tokens;
};

} // namespace devserver
