#include "WebEngineSandbox.h"

#include <QByteArrayList>
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool isSwitchedOff()
{
    return qEnvironmentVariableIntValue("QTWEBENGINE_DISABLE_SANDBOX") == 1
        || qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").split(' ').contains("--no-sandbox");
}

bool write(const char *path, const QByteArray &text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    return file >= 0 && ::write(file, text.constData(), size_t(text.size())) == text.size();
}

/// The steps of Chromium's own start. Only system calls: this runs in a copy of a process with threads.
bool canIsolateItself(const QByteArray &userMap, const QByteArray &groupMap)
{
    return ::unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET) == 0 && write("/proc/self/setgroups", "deny")
        && write("/proc/self/uid_map", userMap) && write("/proc/self/gid_map", groupMap)
        && ::chroot("/proc/self/fdinfo") == 0;
}

QByteArray mapToItself(unsigned id)
{
    const QByteArray number = QByteArray::number(id);
    return number + ' ' + number + " 1\n";
}

bool canIsolateChild()
{
    const QByteArray userMap = mapToItself(::geteuid());
    const QByteArray groupMap = mapToItself(::getegid());
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(canIsolateItself(userMap, groupMap) ? 0 : 1);
    int status = -1;
    while (child > 0 && ::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

QString WebEngineSandbox::obstacle()
{
    if (isSwitchedOff())
        return {};
    if (::geteuid() == 0)
        return QStringLiteral("Vaelix 正以 root 身份运行，无法安全地在窗口中显示网页。");
    if (!canIsolateChild())
        return QStringLiteral("系统不允许使用用户命名空间，无法安全地在窗口中显示网页。");
    return {};
}
