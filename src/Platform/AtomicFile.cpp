#include "AtomicFile.h"

#include "FileDescriptor.h"

#include <QFile>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t ownerOnly = 0600;
constexpr int mostLinks = 40; // as the kernel follows

/// What a write is to replace.
struct Target {
    QByteArray path;
    mode_t permissions = ownerOnly;
};

QByteArray folderOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : path.first(std::max<qsizetype>(slash, 1));
}

/// Where the link points to; a relative target counts from the link's own folder.
QByteArray followed(const QByteArray &link)
{
    std::array<char, PATH_MAX> text{};
    const ssize_t length = ::readlink(link, text.data(), text.size());
    if (length <= 0)
        return {};
    const QByteArray target(text.data(), length);
    return target.startsWith('/') ? target : folderOf(link) + '/' + target;
}

Target targetOf(const QByteArray &path)
{
    QByteArray file = path;
    for (int links = 0; links <= mostLinks; ++links) {
        struct stat present{};
        if (::lstat(file, &present) != 0)
            break;
        const bool isOwn = present.st_uid == ::geteuid();
        if (S_ISREG(present.st_mode) && (links == 0 || isOwn))
            return {file, present.st_mode & 07777};
        if (!S_ISLNK(present.st_mode) || !isOwn)
            break;
        file = followed(file);
    }
    return {path};
}

bool writeAll(int file, const QByteArray &content)
{
    for (qsizetype written = 0; written < content.size();) {
        const ssize_t count = ::write(file, content.constData() + written, size_t(content.size() - written));
        if (count < 0 && errno != EINTR)
            return false;
        written += std::max<ssize_t>(count, 0);
    }
    return true;
}

bool flushFolder(const QByteArray &folder)
{
    const FileDescriptor descriptor(::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems do not know how to flush a folder.
    return descriptor && (::fsync(descriptor.get()) == 0 || errno == EINVAL);
}

int makeFolders(const QByteArray &folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder.toStdString(), error);
    return error.value();
}

} // namespace

std::expected<void, FileError> writeAtomically(const QString &path, const QByteArray &content)
{
    const auto failure = [&path](int error) { return std::unexpected(FileError::notWritten(path, error)); };
    const Target target = targetOf(QFile::encodeName(path));
    if (const int error = makeFolders(folderOf(target.path)))
        return failure(error);

    QByteArray temporary = target.path + ".XXXXXX";
    const FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file)
        return failure(errno);
    if (!writeAll(file.get(), content) || ::fchmod(file.get(), target.permissions) != 0 || ::fsync(file.get()) != 0
        || ::rename(temporary, target.path) != 0) {
        const int error = errno;
        ::unlink(temporary);
        return failure(error);
    }
    if (!flushFolder(folderOf(target.path)))
        return failure(errno);
    return {};
}

std::expected<std::optional<QByteArray>, FileError> readWhole(const QString &path)
{
    const auto failure = [&path](int error) { return std::unexpected(FileError::notRead(path, error)); };
    const FileDescriptor file(::open(QFile::encodeName(path), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file)
        return errno == ENOENT ? std::expected<std::optional<QByteArray>, FileError>(std::nullopt) : failure(errno);
    QByteArray content;
    std::array<char, 64 * 1024> piece{};
    for (;;) {
        const ssize_t count = ::read(file.get(), piece.data(), piece.size());
        if (count < 0 && errno != EINTR)
            return failure(errno);
        if (count == 0)
            return content;
        content.append(piece.data(), std::max<ssize_t>(count, 0));
    }
}
