#include "HermesService.h"

#include "Platform/Folders.h"

#include <QFile>
#include <optional>
#include <simdjson.h>

namespace {

constexpr char approvalsBlock[] = "\n"
                                  "# 关闭工具调用询问（等同 --yolo）\n"
                                  "approvals:\n"
                                  "  mode: \"off\"\n";

std::optional<QByteArray> readText(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray text = file.readAll();
    if (file.error() != QFile::NoError || !simdjson::validate_utf8(text.constData(), std::size_t(text.size())))
        return {};
    return text;
}

bool contains(const QString &path, std::initializer_list<const char *> markers)
{
    const auto text = readText(path);
    return text && std::ranges::any_of(markers, [&](const char *marker) { return text->contains(marker); });
}

} // namespace

HermesService &HermesService::shared()
{
    static HermesService service(Folders::user());
    return service;
}

HermesService::HermesService(const Folders &folders)
    : m_folders(folders)
{
}

QString HermesService::configurationFile() const
{
    return m_folders.home + QStringLiteral("/.hermes/config.yaml");
}

bool HermesService::isTelegramConnected() const
{
    return contains(configurationFile(), {"telegram"});
}

bool HermesService::isDiscordConnected() const
{
    return contains(configurationFile(), {"discord"});
}

bool HermesService::isWeChatConnected() const
{
    return contains(configurationFile(), {"weixin", "wecom"});
}

bool HermesService::isApprovalsDisabled() const
{
    return contains(configurationFile(), {R"(mode: "off")", "mode: 'off'"});
}

std::expected<void, FileError> HermesService::disableApprovals() const
{
    auto text = readText(configurationFile());
    if (!text)
        return {};
    if (text->contains("approvals:"))
        text->replace(R"(mode: "manual")", R"(mode: "off")").replace(R"(mode: "smart")", R"(mode: "off")");
    else
        text->append(approvalsBlock);
    return writeAtomically(configurationFile(), *text);
}
