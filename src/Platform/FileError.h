#pragma once

#include <QString>

/// Why a file was not written or read: a Chinese sentence. A file that was not written is as it was before, or,
/// where only flushing it failed, perhaps the new one.
struct FileError {
    QString description;

    // `error` is the system's error number.
    static FileError notWritten(const QString &path, int error);
    static FileError notRead(const QString &path, int error);
};
