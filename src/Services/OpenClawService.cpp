#include "OpenClawService.h"

#include "Platform/Folders.h"
#include "Utilities/JSONReader.h"

#include <QFile>
#include <QFileInfo>

namespace {

constexpr char approvalsFile[] = "exec-approvals.json";

constexpr char approvalsOff[] = R"({
  "version": 1,
  "defaults": {
    "security": "full",
    "ask": "off",
    "autoAllowSkills": true
  }
})";

/// What `decode` makes of the file's JSON.
template<typename Decode> auto decodeFile(const QString &path, Decode decode) -> std::invoke_result_t<Decode, JSONValue>
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::unexpected(DecodingError{file.errorString()});
    return decodeJSON(file.readAll(), decode);
}

Decoded<bool> decodeDefaults(JSONValue value)
{
    JSONReader json(value);
    return json.result(json.text("security") == u"full" && json.text("ask") == u"off");
}

Decoded<bool> decodeApprovals(JSONValue value)
{
    JSONReader json(value);
    return json.result(json.value("defaults", decodeDefaults));
}

Decoded<QStringList> decodeAccounts(JSONValue value)
{
    if (value.is_array())
        return decodeTexts(value);
    JSONReader json(value);
    return json.result(json.value("ids", decodeTexts));
}

} // namespace

OpenClawService &OpenClawService::shared()
{
    static OpenClawService service(Folders::user());
    return service;
}

OpenClawService::OpenClawService(const Folders &folders)
    : m_folders(folders)
{
}

QString OpenClawService::path(const char *name) const
{
    return m_folders.home + QStringLiteral("/.openclaw/") + QLatin1String(name);
}

std::expected<void, FileError> OpenClawService::writeConfig(const OpenClawConfig &config) const
{
    return writeAtomically(path("config.json"), config.toJSON());
}

bool OpenClawService::isQQBotConnected() const
{
    return QFileInfo::exists(path("qqbot"));
}

bool OpenClawService::isApprovalsDisabled() const
{
    return decodeFile(path(approvalsFile), decodeApprovals).value_or(false);
}

std::expected<void, FileError> OpenClawService::disableApprovals() const
{
    return writeAtomically(path(approvalsFile), approvalsOff);
}

bool OpenClawService::isWeChatConnected() const
{
    return !decodeFile(path("openclaw-weixin/accounts.json"), decodeAccounts).value_or(QStringList()).isEmpty();
}
