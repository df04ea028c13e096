#include "BareChild.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<char *> pointers(const QByteArrayList &texts)
{
    std::vector<char *> array;
    for (const QByteArray &text : texts)
        array.push_back(const_cast<char *>(text.constData()));
    array.push_back(nullptr);
    return array;
}

pid_t spawn(const ChildProcess::Command &command, const posix_spawn_file_actions_t *actions)
{
    pid_t pid = 0;
    const auto arguments = pointers(QByteArrayList{command.executable} + command.arguments);
    const auto environment = pointers(command.environment);
    if (posix_spawn(&pid, command.executable.constData(), actions, nullptr, arguments.data(), environment.data()) != 0)
        qFatal("%s cannot be started", command.executable.constData());
    return pid;
}

void waitForSuccess(pid_t pid)
{
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (status != 0)
        qFatal("The child failed with wait status %d", status);
}

} // namespace

void BareChild::run(const ChildProcess::Command &command)
{
    waitForSuccess(spawn(command, nullptr));
}

qint64 BareChild::readToEnd(const ChildProcess::Command &command, int pipeCapacity, qsizetype bufferSize)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0 || ::fcntl(ends[0], F_SETPIPE_SZ, pipeCapacity) != pipeCapacity)
        qFatal("No pipe of %d bytes", pipeCapacity);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const pid_t pid = spawn(command, &actions);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);

    static std::vector<char> buffer(1024 * 1024);
    qint64 bytes = 0;
    while (const ssize_t count = ::read(ends[0], buffer.data(), size_t(bufferSize))) {
        if (count < 0)
            qFatal("The pipe cannot be read");
        bytes += count;
    }
    ::close(ends[0]);
    waitForSuccess(pid);
    return bytes;
}
