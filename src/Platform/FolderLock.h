#pragma once

#include "FileDescriptor.h"

#include <QString>
#include <optional>

/// Keeps others who ask for the same folder's lock out of it. It is the system's advisory lock on the folder
/// itself, leaves nothing behind, and is held as long as any process has the descriptor open.
class FolderLock
{
public:
    /// None while somebody else holds it, and when the folder cannot be opened. Does not wait.
    static std::optional<FolderLock> take(const QString &folder);

    /// To be handed to a child that is to hold the lock on.
    int descriptor() const { return m_folder.get(); }

private:
    explicit FolderLock(FileDescriptor folder)
        : m_folder(std::move(folder))
    {
    }

    FileDescriptor m_folder;
};
