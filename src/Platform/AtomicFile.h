#pragma once

#include <QByteArray>
#include <QString>
#include <expected>

/// Why a file was not written: a Chinese sentence. The file is as it was before.
struct FileError {
    QString description;
};

/// Replaces the file's content whole or not at all, creating the folders it stands in. An existing
/// file keeps its permissions. Where a symbolic link stands at the path, the link is replaced and
/// what it points to is left alone.
std::expected<void, FileError> writeAtomically(const QString &path, const QByteArray &content);
