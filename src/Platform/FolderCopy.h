#pragma once

#include "FileError.h"

#include <QCoroTask>
#include <expected>

/// Copies a folder with all it holds to a path where nothing stands, making the folders above it. Permissions
/// stay, links are copied as links. A failure leaves what was copied until then; a success is on the disk, where a
/// loss of power leaves it. Works on a worker thread. Interface thread only.
QCoro::Task<std::expected<void, FileError>> copyFolder(QString from, QString to);

/// Whether there is room for another copy of the folder in `place`, which is a folder too.
bool hasRoomFor(const QString &folder, const QString &place);

/// Waits until all that was written to the file system of this folder is on the disk. False when it cannot be.
bool flushDisk(const QString &folder);
