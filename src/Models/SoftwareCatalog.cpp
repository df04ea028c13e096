#include "SoftwareCatalog.h"

#include "Utilities/Deployment.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

using JSON = nlohmann::ordered_json;

Decoded<SoftwareCategory::Value> decodeCategory(JSONValue value)
{
    const auto rawValue = decodeText(value);
    if (!rawValue)
        return std::unexpected(rawValue.error());
    const auto category = SoftwareCategory::fromRawValue(*rawValue);
    if (!category)
        return std::unexpected(DecodingError{QStringLiteral("的值 “%1” 未知").arg(*rawValue)});
    return *category;
}

Decoded<SoftwareFile> decodeFile(JSONValue value)
{
    JSONReader json(value);
    return json.result(SoftwareFile{
        .id = json.text("id"),
        .fileType = json.text("file_type"),
        .originalName = json.text("original_name"),
        .mimeType = json.optionalText("mime_type"),
        .fileSize = json.integer("file_size"),
        .description = json.optionalText("description"),
        .createdAt = json.optionalText("created_at"),
    });
}

Decoded<SoftwareCatalogEntry> decodeEntry(JSONValue value)
{
    JSONReader json(value);
    const auto textOrEmpty = [&json](const char *key) { return json.optionalText(key).value_or(QString()); };
    const auto decodeFiles = [](JSONValue files) { return decodeArray(files, decodeFile); };
    SoftwareCatalogEntry entry{
        .id = json.text("id"),
        .name = json.text("name"),
        .description = json.text("description"),
        .category = json.value("category", decodeCategory),
        .iconName = json.text("iconName"),
        .iconURL = textOrEmpty("iconURL"),
        .installCommand = json.text("installCommand"),
        .uninstallCommand = json.text("uninstallCommand"),
        .startCommand = json.text("startCommand"),
        .stopCommand = json.text("stopCommand"),
        .detectCommand = json.text("detectCommand"),
        .configCommand = textOrEmpty("configCommand"),
        .qqbotInstallCommand = textOrEmpty("qqbotInstallCommand"),
        .weixinInstallCommand = textOrEmpty("weixinInstallCommand"),
        .version = textOrEmpty("version"),
        .upgradeCommand = textOrEmpty("upgradeCommand"),
        .homepageURL = json.text("homepageURL"),
        .dependencies = json.value("dependencies", decodeTexts),
        .files = json.optionalValue("files", decodeFiles).value_or(QList<SoftwareFile>()),
    };
    return json.result(std::move(entry));
}

JSON encodeFile(const SoftwareFile &file)
{
    JSON json;
    const auto putIfPresent = [&json](const char *key, const std::optional<QString> &text) {
        if (text)
            json[key] = text->toStdString();
    };
    json["id"] = file.id.toStdString();
    json["file_type"] = file.fileType.toStdString();
    json["original_name"] = file.originalName.toStdString();
    putIfPresent("mime_type", file.mimeType);
    json["file_size"] = file.fileSize;
    putIfPresent("description", file.description);
    putIfPresent("created_at", file.createdAt);
    return json;
}

JSON encodeEntry(const SoftwareCatalogEntry &entry)
{
    JSON json;
    json["id"] = entry.id.toStdString();
    json["name"] = entry.name.toStdString();
    json["description"] = entry.description.toStdString();
    json["category"] = SoftwareCategory::rawValue(entry.category).toStdString();
    json["iconName"] = entry.iconName.toStdString();
    json["iconURL"] = entry.iconURL.toStdString();
    json["installCommand"] = entry.installCommand.toStdString();
    json["uninstallCommand"] = entry.uninstallCommand.toStdString();
    json["startCommand"] = entry.startCommand.toStdString();
    json["stopCommand"] = entry.stopCommand.toStdString();
    json["detectCommand"] = entry.detectCommand.toStdString();
    json["configCommand"] = entry.configCommand.toStdString();
    json["qqbotInstallCommand"] = entry.qqbotInstallCommand.toStdString();
    json["weixinInstallCommand"] = entry.weixinInstallCommand.toStdString();
    json["version"] = entry.version.toStdString();
    json["upgradeCommand"] = entry.upgradeCommand.toStdString();
    json["homepageURL"] = entry.homepageURL.toStdString();
    json["dependencies"] = JSON::array();
    for (const QString &dependency : entry.dependencies)
        json["dependencies"].push_back(dependency.toStdString());
    json["files"] = JSON::array();
    for (const SoftwareFile &file : entry.files)
        json["files"].push_back(encodeFile(file));
    return json;
}

} // namespace

const SoftwareCatalog::Entries &SoftwareCatalog::defaultCatalog()
{
    static const Entries entries{
        {
            .id = QStringLiteral("openclaw"),
            .name = QStringLiteral("OpenClaw"),
            .description = QStringLiteral("Vaelix 开源 AI 对话框架，支持本地模型与网页端交互"),
            .category = SoftwareCategory::Framework,
            .iconName = QStringLiteral("hammer.circle.fill"),
            .uninstallCommand = QStringLiteral("pip3 uninstall openclaw -y && rm -rf ~/.openclaw"),
            .startCommand = QStringLiteral("openclaw serve"),
            .stopCommand = QStringLiteral("pkill -f 'openclaw serve'"),
            .detectCommand = QStringLiteral("which openclaw"),
            .homepageURL = Deployment::webOrigin() + QStringLiteral("/openclaw"),
        },
        {
            .id = QStringLiteral("hermes"),
            .name = QStringLiteral("Hermes Agent"),
            .description = QStringLiteral("Nous Research 出品的自进化 AI Agent，支持多平台网关"),
            .category = SoftwareCategory::Framework,
            .iconName = QStringLiteral("brain.head.profile"),
            .uninstallCommand = QStringLiteral("rm -rf ~/.hermes ~/.local/bin/hermes"),
            .startCommand = QStringLiteral("hermes gateway"),
            .stopCommand = QStringLiteral("pkill -f 'hermes gateway'"),
            .detectCommand = QStringLiteral("which hermes"),
            .configCommand = QStringLiteral("bash ~/.hermes/hermes-setup.sh"),
            .upgradeCommand = QStringLiteral("hermes update"),
            .homepageURL = QStringLiteral("https://github.com/NousResearch/hermes-agent"),
        },
    };
    return entries;
}

Decoded<SoftwareCatalog::Entries> SoftwareCatalog::decodeEntries(JSONValue array)
{
    return decodeArray(array, decodeEntry);
}

Decoded<SoftwareCatalog::Entries> SoftwareCatalog::decode(QByteArrayView json)
{
    return decodeJSON(json, decodeEntries);
}

QByteArray SoftwareCatalog::encode(const Entries &entries)
{
    JSON array = JSON::array();
    for (const SoftwareCatalogEntry &entry : entries)
        array.push_back(encodeEntry(entry));
    return QByteArray::fromStdString(array.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

const SoftwareCatalogEntry *SoftwareCatalog::find(const Entries &entries, const QString &id)
{
    const auto entry = std::ranges::find(entries, id, &SoftwareCatalogEntry::id);
    return entry == entries.end() ? nullptr : &*entry;
}
