#include "FolderContent.h"

#include <QCryptographicHash>
#include <QFile>
#include <filesystem>
#include <functional>

namespace fs = std::filesystem;

namespace {

using EntryHandler = std::function<void(const fs::directory_entry &, std::error_code &)>;

fs::path toPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

bool isRegularFile(const fs::directory_entry &entry, std::error_code &error)
{
    return fs::is_regular_file(entry.symlink_status(error));
}

/// False when not all entries could be handed over, or one was not handled.
bool forEachEntry(const fs::path &folder, const EntryHandler &handle)
{
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        handle(*entry, error);
        if (error)
            break;
    }
    return !error;
}

QByteArray hashOf(const fs::path &path, std::error_code &error)
{
    QFile file(QFile::decodeName(path.c_str()));
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        error = std::make_error_code(std::errc::io_error);
    return hash.result().toHex();
}

} // namespace

std::optional<FolderExtent> extentOf(const QString &folder)
{
    FolderExtent extent;
    const bool isWhole = forEachEntry(toPath(folder), [&](const fs::directory_entry &entry, std::error_code &error) {
        ++extent.files;
        extent.bytes += isRegularFile(entry, error) ? qint64(entry.file_size(error)) : 0;
    });
    return isWhole ? std::optional(extent) : std::nullopt;
}

std::optional<FolderDigest> digestOf(const QString &folder)
{
    FolderDigest digest;
    const fs::path root = toPath(folder);
    const bool isWhole = forEachEntry(root, [&](const fs::directory_entry &entry, std::error_code &error) {
        if (isRegularFile(entry, error))
            digest.insert(QFile::decodeName(entry.path().lexically_relative(root).c_str()),
                          {.bytes = qint64(entry.file_size(error)), .hash = hashOf(entry.path(), error)});
    });
    return isWhole ? std::optional(digest) : std::nullopt;
}

bool isPartOf(const QString &folder, const FolderDigest &whole)
{
    if (std::error_code error; fs::symlink_status(toPath(folder), error).type() == fs::file_type::not_found)
        return true;
    const auto present = digestOf(folder);
    if (!present)
        return false;
    int cutShort = 0;
    for (auto file = present->begin(); file != present->end(); ++file) {
        const FileDigest original = whole.value(file.key());
        if (file->bytes < original.bytes)
            ++cutShort;
        else if (*file != original)
            return false;
    }
    return cutShort <= 1;
}
