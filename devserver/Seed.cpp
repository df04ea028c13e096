#include "Seed.h"

#include "History.h"

#include <QFile>
#include <array>

namespace devserver {

namespace {

constexpr std::array accountKeys{
    std::pair{"userId", &Account::userId}, std::pair{"displayName", &Account::displayName},
    std::pair{"phone", &Account::phone},   std::pair{"password", &Account::password},
    std::pair{"role", &Account::role},     std::pair{"apiKey", &Account::apiKey},
};

std::expected<JSON, QString> readArray(const QString &kind, const QString &name)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(QStringLiteral("无法读取%1文件 %2：%3")
                                   .arg(kind, name, file.exists() ? file.errorString() : QStringLiteral("文件不存在")));
    const QByteArray text = file.readAll();
    JSON array = JSON::parse(text.begin(), text.end(), nullptr, false);
    if (!array.is_array())
        return std::unexpected(QStringLiteral("%1文件 %2 不是 JSON 数组").arg(kind, name));
    return array;
}

std::expected<Account, QString> readAccount(const JSON &entry)
{
    Account account;
    for (const auto &[key, field] : accountKeys) {
        if (!entry.is_object() || !entry.contains(key) || !entry[key].is_string())
            return std::unexpected(QStringLiteral("账户缺少 %1").arg(QLatin1String(key)));
        account.*field = QString::fromStdString(entry[key].get<std::string>());
    }
    return account;
}

} // namespace

QString embeddedCatalog()
{
    return QStringLiteral(":/devserver/SoftwareCatalog.json");
}

std::expected<Accounts, QString> embeddedAccounts()
{
    const auto entries = readArray(QStringLiteral("账户"), QStringLiteral(":/devserver/Accounts.json"));
    if (!entries)
        return std::unexpected(entries.error());
    QList<Account> accounts;
    for (const JSON &entry : *entries) {
        const auto account = readAccount(entry);
        if (!account)
            return std::unexpected(account.error());
        accounts.append(*account);
    }
    return Accounts(accounts);
}

std::expected<ServerState, QString> readSeed(const QString &catalogFile)
{
    auto catalog = readArray(QStringLiteral("目录"), catalogFile);
    if (!catalog)
        return std::unexpected(catalog.error());
    const auto accounts = embeddedAccounts();
    if (!accounts)
        return std::unexpected(accounts.error());
    ServerState state{.catalog = std::move(*catalog), .accounts = *accounts};
    state.ledger = seededLedger(state.accounts, state.now());
    return state;
}

} // namespace devserver
