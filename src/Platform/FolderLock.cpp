#include "FolderLock.h"

#include <QFile>
#include <fcntl.h>
#include <sys/file.h>

std::optional<FolderLock> FolderLock::take(const QString &folder)
{
    FileDescriptor descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor || ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0)
        return {};
    return FolderLock(std::move(descriptor));
}
