#include "FolderCopy.h"

#include "FileDescriptor.h"
#include "FolderContent.h"

#include <QCoroFuture>
#include <QFile>
#include <QtConcurrentRun>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/statvfs.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Copied = std::expected<void, FileError>;

fs::path toPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

Copied copyNow(const QString &from, const QString &to)
{
    std::error_code error;
    const fs::path target = toPath(to);
    fs::create_directories(target.parent_path(), error);
    if (!error)
        fs::copy(toPath(from), target, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    struct statvfs disk{};
    // The library calls a full disk that.
    if (error == std::errc::io_error && ::statvfs(target.parent_path().c_str(), &disk) == 0 && disk.f_bavail == 0)
        error = std::make_error_code(std::errc::no_space_on_device);
    if (!error && !flushDisk(to))
        error = std::error_code(errno, std::system_category());
    if (error)
        return std::unexpected(FileError::notWritten(to, error.value()));
    return {};
}

} // namespace

QCoro::Task<Copied> copyFolder(QString from, QString to)
{
    co_return co_await QtConcurrent::run(copyNow, from, to);
}

bool hasRoomFor(const QString &folder, const QString &place)
{
    struct statvfs disk{};
    const auto extent = extentOf(folder);
    if (!extent || ::statvfs(QFile::encodeName(place), &disk) != 0)
        return false;
    // Each file's last block is begun, but hardly filled. The folder itself is one more.
    const auto files = fsblkcnt_t(extent->files) + 1;
    const fsblkcnt_t blocks = fsblkcnt_t(extent->bytes) / disk.f_frsize + files;
    const bool hasFiles = disk.f_files == 0 || disk.f_favail >= files; // some file systems do not count them
    return hasFiles && disk.f_bavail >= blocks;
}

bool flushDisk(const QString &folder)
{
    const FileDescriptor descriptor(::open(QFile::encodeName(folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor && ::syncfs(descriptor.get()) == 0;
}
