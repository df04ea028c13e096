#pragma once

#include "FileError.h"

#include <QByteArray>
#include <expected>
#include <optional>

/// Replaces the file's content whole or not at all, creating the folders it stands in. The new content
/// and its folder are on the disk when this returns. An existing file keeps its permissions; a new one is
/// readable and writable by its owner only.
///
/// A symbolic link of the user's own that leads to a regular file of the user's own stays, and that file
/// is replaced. Any other link is itself replaced, by a file as new, and what it points to is left alone:
/// somebody else may have put it there.
std::expected<void, FileError> writeAtomically(const QString &path, const QByteArray &content);

/// The file's content; none when nothing stands at the path.
std::expected<std::optional<QByteArray>, FileError> readWhole(const QString &path);
