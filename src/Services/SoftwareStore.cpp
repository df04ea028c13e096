#include "SoftwareStore.h"

#include "Platform/UserDefaults.h"

#include <QSet>
#include <cmath>
#include <nlohmann/json.hpp>

namespace {

const QString defaultsKey = QStringLiteral("ai_software_status_v1");
constexpr qint64 referenceDate = 978'307'200; // 1 January 2001 UTC, in seconds since 1970
constexpr double mostSeconds = 250e9; // some 7900 years; far beyond, milliseconds overflow

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
    if (std::abs(*seconds) > mostSeconds)
        return std::unexpected(DecodingError{QStringLiteral("不是可用的日期")});
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

SoftwareStore::Table decodeTable(const std::optional<QByteArray> &json)
{
    if (!json)
        return {};
    return decodeJSON(*json, [](JSONValue value) { return decodeMap(value, decodeRecord); })
        .value_or(SoftwareStore::Table());
}

QByteArray encodeTable(const SoftwareStore::Table &table)
{
    nlohmann::json json = nlohmann::json::object();
    for (auto record = table.begin(); record != table.end(); ++record)
        json[record.key().toStdString()] = encodeRecord(record.value());
    return QByteArray::fromStdString(json.dump());
}

StatusRecord recordOf(const AISoftware &software)
{
    return {software.status(), software.version(), software.installedAt(), software.lastUsedAt,
            software.tokenConsumedToday};
}

/// The stored record with what has changed since it was known.
StatusRecord merged(StatusRecord stored, const StatusRecord &known, const StatusRecord &record)
{
    const auto take = [&](auto field) {
        if (record.*field != known.*field)
            stored.*field = record.*field;
    };
    take(&StatusRecord::status);
    take(&StatusRecord::version);
    take(&StatusRecord::installedAt);
    take(&StatusRecord::lastUsedAt);
    take(&StatusRecord::tokenConsumedToday);
    return stored;
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
    qDeleteAll(m_formerSoftware);
    qDeleteAll(m_softwareList);
}

void SoftwareStore::merge(const SoftwareCatalog::Entries &catalog)
{
    m_stored = loadAll();
    QSet<QString> offered;
    for (const SoftwareCatalogEntry &entry : catalog) {
        if (offered.contains(entry.id))
            continue;
        offered.insert(entry.id);
        if (AISoftware *const known = software(entry.id)) {
            known->takeDescription(entry);
            known->takeOffer(entry);
        } else {
            append(entry, m_stored.value(entry.id));
        }
    }
    qDeleteAll(std::exchange(m_formerSoftware, {}));
    m_softwareList.removeIf([&](AISoftware *software) {
        if (offered.contains(software->id()))
            return false;
        m_softwareById.remove(software->id());
        m_formerSoftware.append(software);
        return true;
    });
    Q_EMIT changed();
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
    store({{software.id(), recordOf(software)}}, std::nullopt);
}

void SoftwareStore::saveAll()
{
    Table records;
    for (const AISoftware *const software : m_softwareList) {
        const auto stored = m_stored.constFind(software->id());
        if (const StatusRecord record = recordOf(*software); stored == m_stored.constEnd() || *stored != record)
            records.insert(software->id(), record);
    }
    if (!records.isEmpty())
        store(records, m_stored);
}

SoftwareStore::Table SoftwareStore::loadAll() const
{
    return decodeTable(m_defaults.data(defaultsKey));
}

void SoftwareStore::store(const Table &records, const std::optional<Table> &known)
{
    m_defaults.changeData(defaultsKey, [records, known](const std::optional<QByteArray> &json) {
        Table table = decodeTable(json);
        for (auto record = records.begin(); record != records.end(); ++record) {
            const auto stored = table.constFind(record.key());
            const bool isMerged = known && stored != table.constEnd();
            table.insert(record.key(), isMerged ? merged(*stored, known->value(record.key()), *record) : *record);
        }
        return encodeTable(table);
    });
    m_stored.insert(records);
    Q_EMIT changed();
}
