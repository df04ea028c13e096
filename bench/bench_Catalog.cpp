// Decoding a large catalog, against Qt's own JSON into the same records.

#include "ManyEntries.h"
#include "Measure.h"
#include "Models/SoftwareCatalog.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString text(const QJsonObject &json, const char *key)
{
    return json.value(QLatin1String(key)).toString();
}

SoftwareFile toFile(const QJsonObject &json)
{
    const auto optionalText = [&json](const char *key) {
        const QJsonValue value = json.value(QLatin1String(key));
        return value.isString() ? std::optional(value.toString()) : std::nullopt;
    };
    return {.id = text(json, "id"),
            .fileType = text(json, "file_type"),
            .originalName = text(json, "original_name"),
            .mimeType = optionalText("mime_type"),
            .fileSize = json.value(QLatin1String("file_size")).toInteger(),
            .description = optionalText("description"),
            .createdAt = optionalText("created_at")};
}

SoftwareCatalogEntry toEntry(const QJsonObject &json)
{
    SoftwareCatalogEntry entry{.id = text(json, "id"),
                               .name = text(json, "name"),
                               .description = text(json, "description"),
                               .category = *SoftwareCategory::fromRawValue(text(json, "category")),
                               .iconName = text(json, "iconName"),
                               .iconURL = text(json, "iconURL"),
                               .installCommand = text(json, "installCommand"),
                               .uninstallCommand = text(json, "uninstallCommand"),
                               .startCommand = text(json, "startCommand"),
                               .stopCommand = text(json, "stopCommand"),
                               .detectCommand = text(json, "detectCommand"),
                               .configCommand = text(json, "configCommand"),
                               .qqbotInstallCommand = text(json, "qqbotInstallCommand"),
                               .weixinInstallCommand = text(json, "weixinInstallCommand"),
                               .version = text(json, "version"),
                               .upgradeCommand = text(json, "upgradeCommand"),
                               .homepageURL = text(json, "homepageURL")};
    for (const QJsonValue dependency : json.value(QLatin1String("dependencies")).toArray())
        entry.dependencies.append(dependency.toString());
    for (const QJsonValue file : json.value(QLatin1String("files")).toArray())
        entry.files.append(toFile(file.toObject()));
    return entry;
}

SoftwareCatalog::Entries decodeWithQt(const QByteArray &json)
{
    SoftwareCatalog::Entries entries;
    const QJsonArray array = QJsonDocument::fromJson(json).array();
    entries.reserve(array.size());
    for (const QJsonValue entry : array)
        entries.append(toEntry(entry.toObject()));
    return entries;
}

} // namespace

int main()
{
    const SoftwareCatalog::Entries entries = manyEntries(10'000);
    const QByteArray json = SoftwareCatalog::encode(entries);
    if (SoftwareCatalog::decode(json) != entries || decodeWithQt(json) != entries)
        qFatal("The two sides do not give the same records");

    const auto ours = [&] { return seconds([&] { (void)SoftwareCatalog::decode(json); }); };
    const auto theirs = [&] { return seconds([&] { (void)decodeWithQt(json); }); };
    const Comparison time = compare(51, ours, theirs);
    report({.name = QStringLiteral("10,000-entry catalog into records"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" QJsonDocument into the same records"),
            .value = time.ratio,
            .target = 0.30});
}
