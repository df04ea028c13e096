#include "OperationLock.h"

#include <QDir>
#include <QFile>
#include <QUrl>
#include <array>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

/// The file's content is the holder's process number and, on the next line, what it does.
QByteArrayList readHolder(int file)
{
    std::array<char, 256> content;
    const ssize_t size = ::pread(file, content.data(), content.size(), 0);
    return QByteArray(content.data(), std::max<ssize_t>(size, 0)).split('\n');
}

OperationLock::Refusal refusal(int file, const QString &name)
{
    const QByteArrayList holder = readHolder(file);
    const qint64 process = holder[0].toLongLong();
    const QString verb = holder.size() > 1 ? QString::fromUtf8(holder[1]) : QStringLiteral("处理");
    if (process == ::getpid())
        return {QStringLiteral("%1 正在%2，请等它结束").arg(name, verb), true};
    return {QStringLiteral("%1 正在由另一个 Vaelix（进程 %2）%3").arg(name).arg(process).arg(verb), false};
}

} // namespace

std::expected<OperationLock, OperationLock::Refusal>
OperationLock::take(const QString &folder, const QString &softwareId, const QString &name, const QString &verb)
{
    QDir().mkpath(folder);
    // The server chooses the id; encoded, it is one file name and no other.
    const QByteArray path = QFile::encodeName(folder) + '/' + QUrl::toPercentEncoding(softwareId, {}, ".") + ".lock";
    FileDescriptor file(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file)
        return std::unexpected(Refusal{QStringLiteral("无法锁定 %1：%2").arg(name, qt_error_string(errno)), false});
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return std::unexpected(refusal(file.get(), name));
    const QByteArray holder = QByteArray::number(::getpid()) + '\n' + verb.toUtf8() + '\n';
    if (::ftruncate(file.get(), 0) != 0 || ::pwrite(file.get(), holder.constData(), size_t(holder.size()), 0) < 0)
        return std::unexpected(Refusal{QStringLiteral("无法锁定 %1：%2").arg(name, qt_error_string(errno)), false});
    return OperationLock(std::move(file));
}
