#pragma once

#include "FileDescriptor.h"

#include <QString>
#include <chrono>
#include <expected>
#include <system_error>

/// Keeps the user's other processes that ask for the same file's lock out of it. Nobody else can open the file, so
/// nobody else can hold it; it stays behind, empty. Held as long as any process has the descriptor open.
class FileLock
{
public:
    /// Makes the file, and the folders above it. Waits for the lock as long as `patience`, which blocks the thread;
    /// fails with EWOULDBLOCK when it is still held then, with another error when the file cannot be opened.
    static std::expected<FileLock, std::error_code> take(const QString &path, std::chrono::milliseconds patience = {});

    /// To be handed to a child that is to hold the lock on.
    int descriptor() const { return m_file.get(); }

private:
    explicit FileLock(FileDescriptor file)
        : m_file(std::move(file))
    {
    }

    FileDescriptor m_file;
};
