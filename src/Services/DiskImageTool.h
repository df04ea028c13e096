#pragma once

#include "Platform/ToolRun.h"
#include "UpdateError.h"

#include <QCoroTask>
#include <expected>

/// Where a disk image is mounted.
struct MountPoint {
    QString path;
};

/// Reads what hdiutil answers to `attach -plist`, {"system-entities": [{"mount-point": …}, …]}: the first mount point
/// that there is. Fails with ExtractFailed when there is none, with a reason when the answer is no property list.
std::expected<MountPoint, UpdateError> readMountPoint(QByteArrayView answer);

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
