#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>
#include <expected>
#include <stop_token>

/// A file's SHA-256. A type of its own because g++ 12 cannot await a bare QByteArray in a std::expected.
struct FileHash {
    QByteArray hexadecimal; ///< lower-case
};

/// Why a file has no hash.
enum class FileHashError {
    NotFound, ///< it cannot be opened
    ReadError,
    Cancelled,
};

/// The hash of the file's content. Works on a worker thread and needs
/// two MiB whatever the file's size; reading and hashing overlap. Once `stop` is requested it ends
/// within a chunk's time. Of a file that changes meanwhile it hashes what it got to read. Interface thread only.
QCoro::Task<std::expected<FileHash, FileHashError>> calculateSHA256(QString path, std::stop_token stop);
