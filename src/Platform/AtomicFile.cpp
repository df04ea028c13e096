#include "AtomicFile.h"

#include "FileDescriptor.h"

#include <QFile>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::unexpected<FileError> failure(const QString &path, int error)
{
    return std::unexpected(FileError::notWritten(path, error));
}

/// The permissions of the file that stands at the path, else those of a new one.
mode_t permissionsFor(const char *path)
{
    struct stat present{};
    if (::lstat(path, &present) == 0 && S_ISREG(present.st_mode))
        return present.st_mode & 07777;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool writeWhole(int file, const QByteArray &content)
{
    for (qsizetype written = 0; written < content.size();) {
        const ssize_t count = ::write(file, content.constData() + written, size_t(content.size() - written));
        if (count < 0 && errno != EINTR)
            return false;
        written += std::max<ssize_t>(count, 0);
    }
    return ::fsync(file) == 0;
}

} // namespace

std::expected<void, FileError> writeAtomically(const QString &path, const QByteArray &content)
{
    const QByteArray target = QFile::encodeName(path);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(target.toStdString()).parent_path(), error);
    if (error)
        return failure(path, error.value());

    QByteArray temporary = target + ".XXXXXX";
    const FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        return failure(path, errno);
    if (!writeWhole(file.get(), content) || ::fchmod(file.get(), permissionsFor(target)) != 0
        || ::rename(temporary, target) != 0) {
        const int reason = errno;
        ::unlink(temporary);
        return failure(path, reason);
    }
    return {};
}
