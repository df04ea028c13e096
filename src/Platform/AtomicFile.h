#pragma once

#include "FileError.h"

#include <QByteArray>
#include <expected>

/// Replaces the file's content whole or not at all, creating the folders it stands in. An existing
/// file keeps its permissions. Where a symbolic link stands at the path, the link is replaced and
/// what it points to is left alone.
std::expected<void, FileError> writeAtomically(const QString &path, const QByteArray &content);
