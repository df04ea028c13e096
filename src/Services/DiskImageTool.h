#pragma once

#include "Platform/ToolRun.h"
#include "UpdateError.h"

#include <QCoroTask>
#include <expected>

/// Where a disk image is mounted.
struct MountPoint {
    QString path;
};

/// Mounts disk images with hdiutil: the system's, or the bundle's own where the system has none.
/// Interface thread only.
class DiskImageTool
{
public:
    /// Both are absolute paths; a tool that unpacks does so in the folder.
    DiskImageTool(QString executable, const QString &temporaryFolder);

    /// Fails with ExtractFailed when the tool does, with its own reason when the tool cannot be started or
    /// its answer is no property list.
    QCoro::Task<std::expected<MountPoint, UpdateError>> attach(QString image) const;

    /// `force` for a volume that is in use. What goes wrong is logged.
    QCoro::Task<> detach(QString mountPoint, bool force) const;

private:
    QString m_executable;
    ToolSettings m_settings;
};
