#include "LargeFile.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <fcntl.h>
#include <random>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

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

/// How many of the file's pages the page cache holds. Asks without reading, which would bring some in.
qsizetype cachedPages(int file, std::size_t size)
{
    void *const start = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    const std::size_t pageSize = std::size_t(::sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> pages((size + pageSize - 1) / pageSize);
    if (start == MAP_FAILED || ::mincore(start, size, pages.data()) != 0)
        qFatal("The page cache does not tell what it holds");
    ::munmap(start, size);
    return std::ranges::count_if(pages, [](unsigned char page) { return page & 1; });
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
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be opened", qPrintable(path()));
    // What a reader that has ended was still reading ahead stays at the first attempt.
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (const int error = ::posix_fadvise(file.handle(), 0, 0, POSIX_FADV_DONTNEED))
            qFatal("%s cannot be taken out of the page cache: error %d", qPrintable(path()), error);
        if (cachedPages(file.handle(), std::size_t(file.size())) == 0)
            return;
    }
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
