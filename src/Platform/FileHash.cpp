#include "FileHash.h"

#include "FileDescriptor.h"

#include <QCoroFuture>
#include <QFile>
#include <QtConcurrentRun>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>

namespace {

constexpr qsizetype chunkSize = 1024 * 1024;

using Hash = std::expected<FileHash, FileHashError>;

class SHA256
{
public:
    SHA256() { m_isGood = m_context && EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1; }

    void add(const char *bytes, qsizetype count)
    {
        m_isGood = m_isGood && EVP_DigestUpdate(m_context.get(), bytes, std::size_t(count)) == 1;
    }

    Hash result()
    {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int size = 0;
        if (!m_isGood || EVP_DigestFinal_ex(m_context.get(), digest, &size) != 1)
            return std::unexpected(FileHashError::ReadError);
        return FileHash{QByteArray(reinterpret_cast<const char *>(digest), qsizetype(size)).toHex()};
    }

private:
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX *)> m_context{EVP_MD_CTX_new(), EVP_MD_CTX_free};
    bool m_isGood;
};

/// Fills the chunk as far as the file goes. The count is negative after an error.
qsizetype readChunk(int file, char *chunk)
{
    qsizetype filled = 0;
    while (filled < chunkSize) {
        const ssize_t count = ::read(file, chunk + filled, std::size_t(chunkSize - filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return count;
        if (count == 0)
            break;
        filled += count;
    }
    return filled;
}

Hash hashFile(const QString &path, const std::stop_token &stop)
{
    // Without blocking, so that a named pipe cannot hold the thread for ever.
    const FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file)
        return std::unexpected(FileHashError::NotFound);
    QByteArray current(chunkSize, Qt::Uninitialized);
    QByteArray next(chunkSize, Qt::Uninitialized);
    SHA256 hash;
    qsizetype count = readChunk(file.get(), current.data());
    while (count > 0 && !stop.stop_requested()) {
        // A wait for its result runs the read right here where the pool has no thread free.
        const QFuture<qsizetype> ahead = QtConcurrent::run(readChunk, file.get(), next.data());
        hash.add(current.constData(), count);
        count = ahead.result();
        current.swap(next);
    }
    if (stop.stop_requested())
        return std::unexpected(FileHashError::Cancelled);
    return count < 0 ? std::unexpected(FileHashError::ReadError) : hash.result();
}

} // namespace

QCoro::Task<std::expected<FileHash, FileHashError>> calculateSHA256(QString path, std::stop_token stop)
{
    co_return co_await QtConcurrent::run(hashFile, path, stop);
}
