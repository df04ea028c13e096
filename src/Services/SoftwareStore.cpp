#include "SoftwareStore.h"

#include "Platform/UserDefaults.h"

#include <QSet>
#include <nlohmann/json.hpp>

namespace {

const QString defaultsKey = QStringLiteral("ai_software_status_v1");
constexpr qint64 referenceDate = 978'307'200; // 1 January 2001 UTC, in seconds since 1970

QDateTime toDate(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(referenceDate * 1000 + qRound64(seconds * 1000));
}

double toSeconds(const QDateTime &date)
{
    return double(date.toMSecsSinceEpoch() - referenceDate * 1000) / 1000;
}

Decoded<QDateTime> decodeDate(JSONValue value)
{
    const auto seconds = decodeNumber(value);
    if (!seconds)
        return std::unexpected(seconds.error());
    return toDate(*seconds);
}

Decoded<SoftwareStatus::Value> decodeStatus(JSONValue value)
{
    const auto rawValue = decodeText(value);
    const auto status = rawValue ? SoftwareStatus::fromRawValue(*rawValue) : std::nullopt;
    if (!status)
        return std::unexpected(DecodingError{QStringLiteral("不是已知的状态")});
    return *status;
}

Decoded<StatusRecord> decodeRecord(JSONValue value)
{
    JSONReader json(value);
    StatusRecord record{
        .status = json.value("status", decodeStatus),
        .version = json.text("version"),
        .installedAt = json.optionalValue("installedAt", decodeDate),
        .lastUsedAt = json.optionalValue("lastUsedAt", decodeDate),
        .tokenConsumedToday = json.integer("tokenConsumedToday"),
    };
    return json.result(std::move(record));
}

nlohmann::ordered_json encodeRecord(const StatusRecord &record)
{
    nlohmann::ordered_json json;
    json["status"] = SoftwareStatus::rawValue(record.status).toStdString();
    json["version"] = record.version.toStdString();
    if (record.installedAt)
        json["installedAt"] = toSeconds(*record.installedAt);
    if (record.lastUsedAt)
        json["lastUsedAt"] = toSeconds(*record.lastUsedAt);
    json["tokenConsumedToday"] = record.tokenConsumedToday;
    return json;
}

} // namespace

SoftwareStore &SoftwareStore::shared()
{
    static SoftwareStore store(UserDefaults::shared());
    return store;
}

SoftwareStore::SoftwareStore(UserDefaults &defaults)
    : m_defaults(defaults)
{
}

SoftwareStore::~SoftwareStore()
{
    qDeleteAll(m_softwareList);
}

void SoftwareStore::merge(const SoftwareCatalog::Entries &catalog)
{
    const Table records = loadAll();
    QSet<QString> offered;
    for (const SoftwareCatalogEntry &entry : catalog) {
        offered.insert(entry.id);
        if (AISoftware *const known = software(entry.id)) {
            known->takeDescription(entry);
            known->takeOffer(entry);
        } else {
            append(entry, records.value(entry.id));
        }
    }
    m_softwareList.removeIf([&](AISoftware *software) {
        if (offered.contains(software->id()))
            return false;
        m_softwareById.remove(software->id());
        software->deleteLater();
        return true;
    });
}

void SoftwareStore::append(const SoftwareCatalogEntry &entry, const StatusRecord &record)
{
    auto *const software = new AISoftware(entry.id);
    software->takeDescription(entry);
    software->setStatus(record.status);
    software->setVersion(record.version);
    software->setInstalledAt(record.installedAt);
    software->lastUsedAt = record.lastUsedAt;
    software->tokenConsumedToday = record.tokenConsumedToday;
    m_softwareList.append(software);
    m_softwareById.insert(entry.id, software);
}

void SoftwareStore::save(const AISoftware &software)
{
    Table table = loadAll();
    table.insert(software.id(),
                 StatusRecord{software.status(), software.version(), software.installedAt(), software.lastUsedAt,
                              software.tokenConsumedToday});
    saveAll(table);
}

SoftwareStore::Table SoftwareStore::loadAll() const
{
    const auto json = m_defaults.data(defaultsKey);
    if (!json)
        return {};
    return decodeJSON(*json, [](JSONValue value) { return decodeMap(value, decodeRecord); }).value_or(Table());
}

void SoftwareStore::saveAll(const Table &table)
{
    nlohmann::json json = nlohmann::json::object();
    for (auto record = table.begin(); record != table.end(); ++record)
        json[record.key().toStdString()] = encodeRecord(record.value());
    m_defaults.setData(defaultsKey, QByteArray::fromStdString(json.dump()));
}
