#pragma once

#include <QObject>
#include <optional>

class KeychainService;

/// How other applications reach the cloud model API with the account's key, as it was stored when
/// this was made. Interface thread only.
class TokenProxyViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString apiEndpoint READ apiEndpoint CONSTANT)
    Q_PROPERTY(QString apiKey READ apiKey CONSTANT)
    Q_PROPERTY(QString shortenedAPIKey READ shortenedAPIKey CONSTANT)

public:
    /// Wired to the shared services.
    explicit TokenProxyViewModel(QObject *parent = nullptr);
    /// `cloudAPIOrigin` has no slash behind it.
    TokenProxyViewModel(const QString &cloudAPIOrigin, const KeychainService &keychain, QObject *parent = nullptr);

    QString apiEndpoint() const { return m_apiEndpoint; }
    /// The whole key; "请先登录" when there is none.
    QString apiKey() const { return m_apiKey.value_or(QStringLiteral("请先登录")); }
    /// The key's first 20 user-perceived characters and "..."; "请先登录" when there is none.
    QString shortenedAPIKey() const;

private:
    const QString m_apiEndpoint;
    const std::optional<QString> m_apiKey;
};
