#include "DiskImageTool.h"

#include "Platform/PropertyList.h"
#include "Utilities/Log.h"

#include <QFile>

using Mounted = std::expected<MountPoint, UpdateError>;

Mounted readMountPoint(QByteArrayView answer)
{
    const auto root = PropertyList::parse(answer);
    if (!root)
        return std::unexpected(UpdateError::other(QStringLiteral("磁盘映像工具的回答不是属性列表")));
    const plist_t entities = PropertyList::item(root.get(), "system-entities");
    for (quint32 i = 0; i < PropertyList::count(entities); ++i) {
        const auto path = PropertyList::text(plist_array_get_item(entities, i), "mount-point");
        if (path && !path->isEmpty())
            return MountPoint{*path};
    }
    return std::unexpected(UpdateError(UpdateError::Kind::ExtractFailed));
}

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
