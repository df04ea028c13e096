#include "SmallDisk.h"

#include <QFile>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

/// An ordinary user may mount in a user namespace, where his number stays what it is.
static bool unshareMounts()
{
    const auto user = std::to_string(::geteuid());
    const auto group = std::to_string(::getegid());
    if (::geteuid() == 0)
        return ::unshare(CLONE_NEWNS) == 0;
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
    std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
    return true;
}

void SmallDisk::keepMountsPrivate()
{
    if (!unshareMounts() || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        qFatal("no mounts of its own: %s", std::strerror(errno));
}

SmallDisk::SmallDisk(const QString &folder, int bytes, const QByteArray &options)
    : m_folder(QFile::encodeName(folder))
{
    const QByteArray all = "size=" + QByteArray::number(bytes) + (options.isEmpty() ? "" : ",") + options;
    if (::mount("vaelix-test", m_folder, "tmpfs", 0, all.constData()) != 0)
        qFatal("no disk at %s: %s", m_folder.constData(), std::strerror(errno));
}

SmallDisk::~SmallDisk()
{
    if (::umount2(m_folder, MNT_DETACH) != 0)
        qWarning("the disk at %s stays: %s", m_folder.constData(), std::strerror(errno));
}

void SmallDisk::fill() const
{
    const int file = ::open(filler(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    for (const QByteArray &piece : {QByteArray(4096, 'x'), QByteArray("x")})
        while (::write(file, piece, size_t(piece.size())) > 0) { }
    ::close(file);
}

void SmallDisk::clear() const
{
    ::unlink(filler());
}
