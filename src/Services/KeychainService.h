#pragma once

#include <QString>
#include <optional>

/// Keeps the signed-in user's credentials as texts under fixed keys ("auth_token", "user_id",
/// "display_name", "user_api_key") in the desktop's secret store. Reports no failure: what could
/// not be stored reads back as missing.
class KeychainService
{
public:
    static KeychainService &shared();

    /// `serviceName` keeps the items of different applications apart.
    explicit KeychainService(QString serviceName = QStringLiteral("com.vaelix.app"));

    void save(const QString &key, const QString &value);
    std::optional<QString> get(const QString &key) const;
    void remove(const QString &key);

private:
    const QString m_serviceName;
};
