#include "DiskImageTool.h"

#include "Utilities/Log.h"

#include <QFile>
#include <memory>
#include <plist/plist.h>

namespace {

using Mounted = std::expected<MountPoint, UpdateError>;
using PropertyList = std::unique_ptr<void, void (*)(plist_t)>;

QString textOf(plist_t node)
{
    const bool isText = node && plist_get_node_type(node) == PLIST_STRING;
    return isText ? QString::fromUtf8(plist_get_string_ptr(node, nullptr)) : QString();
}

/// {"system-entities": [{"mount-point": …}, …]}: the first one that there is.
Mounted readMountPoint(QByteArrayView answer)
{
    plist_t root = nullptr;
    plist_from_memory(answer.data(), uint32_t(answer.size()), &root);
    const PropertyList owner(root, plist_free);
    if (!root)
        return std::unexpected(UpdateError::other(QStringLiteral("磁盘映像工具的回答不是属性列表")));
    const plist_t entities =
        plist_get_node_type(root) == PLIST_DICT ? plist_dict_get_item(root, "system-entities") : nullptr;
    const bool isArray = entities && plist_get_node_type(entities) == PLIST_ARRAY;
    for (uint32_t i = 0; isArray && i < plist_array_get_size(entities); ++i) {
        const plist_t entity = plist_array_get_item(entities, i);
        const bool isDictionary = plist_get_node_type(entity) == PLIST_DICT;
        const QString path = isDictionary ? textOf(plist_dict_get_item(entity, "mount-point")) : QString();
        if (!path.isEmpty())
            return MountPoint{path};
    }
    return std::unexpected(UpdateError(UpdateError::Kind::ExtractFailed));
}

} // namespace

DiskImageTool::DiskImageTool(QString executable, const QString &temporaryFolder)
    : m_executable(std::move(executable))
    , m_settings{.environment = {"TMPDIR=" + QFile::encodeName(temporaryFolder)}}
{
}

QCoro::Task<Mounted> DiskImageTool::attach(QString image) const
{
    const QStringList arguments{QStringLiteral("attach"), image, QStringLiteral("-nobrowse"),
                                QStringLiteral("-noverify"), QStringLiteral("-plist")};
    const auto run = co_await runTool(m_executable, arguments, m_settings);
    if (!run)
        co_return std::unexpected(UpdateError::other(run.error().description));
    if (run->exitCode != 0) {
        Log::line(QStringLiteral("⚠️ DMG 挂载失败: ") + run->errorOutput.toString());
        co_return std::unexpected(UpdateError(UpdateError::Kind::ExtractFailed));
    }
    co_return readMountPoint(run->output.utf8());
}

QCoro::Task<> DiskImageTool::detach(QString mountPoint, bool force) const
{
    QStringList arguments{QStringLiteral("detach"), mountPoint, QStringLiteral("-quiet")};
    if (force)
        arguments.append(QStringLiteral("-force"));
    const auto run = co_await runTool(m_executable, arguments, m_settings);
    if (!run || run->exitCode != 0)
        Log::line(QStringLiteral("⚠️ DMG 卸载失败: ") + (run ? run->errorOutput.toString() : run.error().description));
}
