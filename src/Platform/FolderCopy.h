#pragma once

#include "FileError.h"

#include <QCoroTask>
#include <expected>

/// Copies a folder with all it holds to a path where nothing stands, making the folders above it. Permissions
/// stay, links are copied as links. A failure leaves what was copied until then. Works on a worker thread.
/// Interface thread only.
QCoro::Task<std::expected<void, FileError>> copyFolder(QString from, QString to);

/// Whether a folder can be moved under another: always within a file system, else when there is room for it.
bool hasRoomFor(const QString &folder, const QString &newParent);

/// What a folder holds, to tell a whole copy from a part.
struct FolderExtent {
    qint64 files = 0; ///< links and folders included
    qint64 bytes = 0; ///< of the regular files

    bool operator==(const FolderExtent &) const = default;
};

/// None when there is no such folder, or when it cannot be read to its end.
std::optional<FolderExtent> extentOf(const QString &folder);
