#include "OperationLog.h"

#include "Utilities/Log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QUrl>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qsizetype keptOfAKind = 10;

/// Removes the oldest files of the kind until there is room for one more.
void makeRoom(QDir folder, const QString &kind)
{
    const QStringList files = folder.entryList({kind + QStringLiteral("-*.log")}, QDir::Files, QDir::Name);
    for (const QString &file : files.first(std::max<qsizetype>(0, files.size() - keptOfAKind + 1)))
        folder.remove(file);
}

} // namespace

OperationLog::OperationLog(const QString &folder, const QString &softwareId, const QString &kind, qint64 limit)
    : m_limit(limit)
{
    // The server chooses the id; encoded, it is one file name and no other.
    const QDir own(folder + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(softwareId, {}, ".")));
    QDir().mkpath(own.path());
    ::chmod(QFile::encodeName(own.path()).constData(), 0700);
    makeRoom(own, kind);
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    m_path = own.filePath(QStringLiteral("%1-%2.log").arg(kind, time));
    m_file =
        FileDescriptor(::open(QFile::encodeName(m_path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!m_file)
        giveUp(errno);
}

void OperationLog::append(QUtf8StringView text)
{
    if (!m_file || m_size >= m_limit)
        return;
    write(text);
    if (m_size >= m_limit)
        write("\n…… 日志已达上限，其后的内容不再记录\n");
}

void OperationLog::write(QUtf8StringView text)
{
    const char *data = text.data();
    for (qsizetype left = text.size(); left > 0;) {
        const ssize_t count = ::write(m_file.get(), data, size_t(left));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return giveUp(errno);
        data += count;
        left -= count;
        m_size += count;
    }
}

void OperationLog::giveUp(int error)
{
    Log::line(QStringLiteral("[日志] 无法写入 %1：%2").arg(m_path, qt_error_string(error)));
    m_file = FileDescriptor();
    m_path.clear();
}
