#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <optional>

/// What a folder holds, to tell a whole copy from a part.
struct FolderExtent {
    qint64 files = 0; ///< links and folders included
    qint64 bytes = 0; ///< of the regular files

    bool operator==(const FolderExtent &) const = default;
};

/// None when there is no such folder, or when it cannot be read to its end.
std::optional<FolderExtent> extentOf(const QString &folder);

/// A regular file's content.
struct FileDigest {
    qint64 bytes = 0;
    QByteArray hash; ///< BLAKE2b-256 in hexadecimal

    bool operator==(const FileDigest &) const = default;
};

/// The regular files below a folder, by their paths from it.
using FolderDigest = QHash<QString, FileDigest>;

/// None when there is no such folder, or when it cannot be read to its end. Any thread; reads everything.
std::optional<FolderDigest> digestOf(const QString &folder);

/// Whether a folder may come from copying `whole` and breaking off: every file of it is one of those, and at most one
/// is cut short. So is a folder that is not there.
bool isPartOf(const QString &folder, const FolderDigest &whole);
