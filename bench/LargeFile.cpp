#include "LargeFile.h"

#include <QCoreApplication>
#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <random>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr qsizetype mebibyte = 1024 * 1024;

/// Bytes that neither a disk nor a file system can make less of, the same in every run.
QByteArray noise(int seed)
{
    std::mt19937_64 numbers{std::uint64_t(seed)};
    QByteArray bytes(mebibyte, Qt::Uninitialized);
    auto *const words = reinterpret_cast<std::uint64_t *>(bytes.data());
    std::generate_n(words, std::size_t(mebibyte) / sizeof *words, numbers);
    return bytes;
}

/// Whether the page of that position is in the page cache.
bool isCached(int file, off_t position)
{
    char byte = 0;
    const iovec target{&byte, 1};
    return ::preadv2(file, &target, 1, position, RWF_NOWAIT) == 1;
}

} // namespace

LargeFile::LargeFile(int mebibytes)
{
    QFile file(path());
    bool isGood = file.open(QIODevice::WriteOnly);
    for (int i = 0; i < mebibytes && isGood; ++i)
        isGood = file.write(noise(i)) == mebibyte;
    if (!isGood || !file.flush() || ::fsync(file.handle()) != 0)
        qFatal("No file of %d MiB: %s", mebibytes, qPrintable(file.errorString()));
}

void LargeFile::evict() const
{
    QFile file(path());
    if (!file.open(QIODevice::ReadOnly) || ::posix_fadvise(file.handle(), 0, 0, POSIX_FADV_DONTNEED) != 0)
        qFatal("%s cannot be taken out of the page cache", qPrintable(path()));
    for (off_t position = 0; position < file.size(); position += mebibyte)
        if (isCached(file.handle(), position))
            qFatal("%s stays in the page cache; TMPDIR names another folder", qPrintable(path()));
}

FileServer::FileServer(const LargeFile &file)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QCoreApplication::applicationDirPath() + QStringLiteral("/bench_FileServer"), {file.path()});
    if (!m_process.waitForReadyRead())
        qFatal("The file server does not start");
    m_origin = QString::fromLatin1(m_process.readLine()).trimmed();
}

FileServer::~FileServer()
{
    m_process.kill();
    m_process.waitForFinished();
}
