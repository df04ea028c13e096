#pragma once

#include <QString>

/// Why a file was not written: a Chinese sentence. What stood at its path is as it was before.
struct FileError {
    QString description;

    /// `error` is the system's error number.
    static FileError notWritten(const QString &path, int error);
};
