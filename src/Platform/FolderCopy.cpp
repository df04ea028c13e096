#include "FolderCopy.h"

#include <QCoroFuture>
#include <QFile>
#include <QtConcurrentRun>
#include <filesystem>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t roundingPerFile = 4096;

using Copied = std::expected<void, FileError>;

fs::path toPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

Copied copyNow(const QString &from, const QString &to)
{
    std::error_code error;
    std::error_code unknown;
    const fs::path target = toPath(to);
    fs::create_directories(target.parent_path(), error);
    if (!error)
        fs::copy(toPath(from), target, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    // The library calls a full disk that.
    if (error == std::errc::io_error && fs::space(target.parent_path(), unknown).available < roundingPerFile)
        error = std::make_error_code(std::errc::no_space_on_device);
    if (error)
        return std::unexpected(FileError::notWritten(to, error.value()));
    return {};
}

} // namespace

QCoro::Task<Copied> copyFolder(QString from, QString to)
{
    co_return co_await QtConcurrent::run(copyNow, from, to);
}

bool hasRoomFor(const QString &folder, const QString &newParent)
{
    struct stat moved{};
    struct stat place{};
    if (::stat(QFile::encodeName(folder), &moved) != 0 || ::stat(QFile::encodeName(newParent), &place) != 0)
        return false;
    if (moved.st_dev == place.st_dev)
        return true;
    std::error_code error;
    const auto available = fs::space(toPath(newParent), error).available;
    const auto extent = extentOf(folder);
    return !error && extent
        && available >= std::uintmax_t(extent->bytes) + std::uintmax_t(extent->files) * roundingPerFile;
}

std::optional<FolderExtent> extentOf(const QString &folder)
{
    FolderExtent extent;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(toPath(folder), error), end; !error && entry != end;
         entry.increment(error)) {
        ++extent.files;
        const bool isFile = entry->is_regular_file(error) && !entry->is_symlink(error);
        extent.bytes += isFile ? qint64(entry->file_size(error)) : 0;
    }
    return error ? std::nullopt : std::optional(extent);
}
