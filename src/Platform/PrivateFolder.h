#pragma once

#include "FileError.h"
#include "FolderRemoval.h"

#include <expected>

/// A folder of ours that nobody else may enter, in a place where everybody can create things. It remembers which
/// folder it is, so that another one that bears its name later is never taken for it.
struct PrivateFolder {
    QString path; ///< absolute
    FolderIdentity identity;

    /// Makes a new one, and the folders above it; fails where anything stands at the path.
    static std::expected<PrivateFolder, FileError> make(const QString &path);

    /// With all it holds. False when it is not there as it was made, and when it cannot be removed whole.
    bool remove() const { return removePrivateFolder(path, identity); }
};
