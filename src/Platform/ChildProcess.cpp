#include "ChildProcess.h"

#include "PidFD.h"
#include "ProcessSession.h"

#include <QPointer>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>

#include <sys/wait.h>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr int pipeCapacity = 1024 * 1024;
constexpr int beginningDescriptor = STDERR_FILENO + 1;
constexpr auto terminationGrace = 700ms;

std::error_code systemError(int number)
{
    return {number, std::system_category()};
}

struct Pipe {
    FileDescriptor readingEnd;
    FileDescriptor writingEnd;
};

std::expected<Pipe, std::error_code> makePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return std::unexpected(systemError(errno));
    Pipe pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    // A larger pipe only saves wake-ups; the system may refuse it to a user who has many.
    ::fcntl(ends[1], F_SETPIPE_SZ, pipeCapacity);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return pipe;
}

/// Attributes and file actions of a spawn, destroyed with it.
class SpawnPlan
{
public:
    /// `beginning` is a pipe without ends where the child is not to tell that it begins.
    SpawnPlan(const Pipe &output, const Pipe &error, const Pipe &beginning)
    {
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_init(&m_attributes);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, output.writingEnd.get(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, error.writingEnd.get(), STDERR_FILENO);
        if (beginning.writingEnd)
            posix_spawn_file_actions_adddup2(&m_actions, beginning.writingEnd.get(), beginningDescriptor);
        posix_spawn_file_actions_addclosefrom_np(&m_actions, beginningDescriptor + (beginning.writingEnd ? 1 : 0));
    }
    SpawnPlan(const SpawnPlan &) = delete;
    SpawnPlan &operator=(const SpawnPlan &) = delete;
    ~SpawnPlan()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    std::expected<pid_t, std::error_code> run(const ChildProcess::Command &command) const
    {
        pid_t pid = 0;
        const auto arguments = pointers(QByteArrayList{command.executable} + command.arguments);
        const auto environment = pointers(command.environment);
        const int failure = posix_spawn(&pid, command.executable.constData(), &m_actions, &m_attributes,
                                        arguments.data(), environment.data());
        if (failure != 0)
            return std::unexpected(systemError(failure));
        return pid;
    }

private:
    /// posix_spawn's array form; the texts stay the caller's.
    static std::vector<char *> pointers(const QByteArrayList &texts)
    {
        std::vector<char *> array;
        for (const QByteArray &text : texts)
            array.push_back(const_cast<char *>(text.constData()));
        array.push_back(nullptr);
        return array;
    }

    posix_spawnattr_t m_attributes;
    posix_spawn_file_actions_t m_actions;
};

} // namespace

std::expected<std::shared_ptr<ChildProcess>, std::error_code> ChildProcess::start(const Command &command, Ending ending,
                                                                                  PipeSink &output, PipeSink &error)
{
    auto outputPipe = makePipe();
    if (!outputPipe)
        return std::unexpected(outputPipe.error());
    auto errorPipe = makePipe();
    if (!errorPipe)
        return std::unexpected(errorPipe.error());

    std::expected<Pipe, std::error_code> beginningPipe;
    if (command.tellsBeginning)
        beginningPipe = makePipe();
    if (!beginningPipe)
        return std::unexpected(beginningPipe.error());

    const auto pid = SpawnPlan(*outputPipe, *errorPipe, *beginningPipe).run(command);
    if (!pid)
        return std::unexpected(pid.error());
    FileDescriptor exitHandle(pidfd_open(*pid, 0));
    if (!exitHandle) {
        const int failure = errno;
        ::kill(*pid, SIGKILL);
        ::waitpid(*pid, nullptr, 0);
        return std::unexpected(systemError(failure));
    }

    // Deleted from the event loop: the last owner may let go inside one of the child's own signals.
    std::shared_ptr<ChildProcess> child(new ChildProcess(*pid, std::move(exitHandle), ending),
                                        [](ChildProcess *object) { object->deleteLater(); });
    child->read(std::move(outputPipe->readingEnd), output, std::move(errorPipe->readingEnd), error);
    if (beginningPipe->readingEnd)
        child->watchBeginning(std::move(beginningPipe->readingEnd));
    return child;
}

ChildProcess::ChildProcess(pid_t pid, FileDescriptor exitHandle, Ending ending)
    : m_pid(pid)
    , m_exitHandle(std::move(exitHandle))
    , m_exitNotifier(m_exitHandle.get(), QSocketNotifier::Read)
    , m_ending(ending)
{
    connect(&m_exitNotifier, &QSocketNotifier::activated, this, &ChildProcess::noteExit);
}

ChildProcess::~ChildProcess()
{
    if (m_exitCode)
        return;
    // Nobody listens any more, but the child must still be reaped when it ends.
    auto *orphan = new QSocketNotifier(m_exitHandle.get(), QSocketNotifier::Read);
    auto handle = std::make_shared<FileDescriptor>(std::move(m_exitHandle));
    connect(orphan, &QSocketNotifier::activated, orphan, [orphan, handle] {
        orphan->setEnabled(false);
        siginfo_t info;
        ::waitid(P_PIDFD, id_t(handle->get()), &info, WEXITED);
        orphan->deleteLater();
    });
}

void ChildProcess::read(FileDescriptor outputPipe, PipeSink &output, FileDescriptor errorPipe, PipeSink &error)
{
    m_output = std::make_unique<PipeReader>(std::move(outputPipe), output);
    m_error = std::make_unique<PipeReader>(std::move(errorPipe), error);
    connect(m_output.get(), &PipeReader::ended, this, &ChildProcess::finishIfOver);
    connect(m_error.get(), &PipeReader::ended, this, &ChildProcess::finishIfOver);
}

void ChildProcess::watchBeginning(FileDescriptor pipe)
{
    m_hasBegun = false;
    m_beginning = std::move(pipe);
    m_beginningNotifier = std::make_unique<QSocketNotifier>(m_beginning.get(), QSocketNotifier::Read);
    connect(m_beginningNotifier.get(), &QSocketNotifier::activated, this, &ChildProcess::readBeginning);
}

void ChildProcess::readBeginning()
{
    char sign = 0;
    const ssize_t count = m_beginning ? ::read(m_beginning.get(), &sign, 1) : -1;
    if (count < 0)
        return;
    m_beginningNotifier->setEnabled(false);
    m_beginning = FileDescriptor();
    m_hasBegun = count > 0;
    if (m_hasBegun)
        Q_EMIT begun();
    else
        Q_EMIT beginningLost();
}

void ChildProcess::noteExit()
{
    m_exitNotifier.setEnabled(false);
    m_hasExited = true;
    readBeginning();
    // What has left the session may hold the pipes of one that was terminated for ever.
    if (m_ending != Ending::AtEndOfFile || m_wasTerminated) {
        m_output->drainAndClose();
        m_error->drainAndClose();
    }
    if (m_ending != Ending::WithSession) {
        reap();
        finishIfOver();
    } else if (!m_isTerminating) {
        endSession();
    }
}

void ChildProcess::reap()
{
    if (m_exitCode)
        return;
    siginfo_t info{};
    ::waitid(P_PIDFD, id_t(m_exitHandle.get()), &info, WEXITED);
    m_exitHandle = FileDescriptor();
    m_exitCode = info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

void ChildProcess::finishIfOver()
{
    if (m_exitCode && !m_isTerminating && m_output->isAtEnd() && m_error->isAtEnd())
        Q_EMIT finished(*m_exitCode);
}

void ChildProcess::terminate()
{
    if (m_hasExited || m_isTerminating)
        return;
    m_wasTerminated = true;
    endSession();
}

void ChildProcess::kill()
{
    if (!m_hasExited)
        ProcessSession::kill(m_pid);
}

QCoro::Task<> ChildProcess::endSession()
{
    const QPointer self(this);
    m_isTerminating = true;
    co_await ProcessSession::terminate(m_pid, terminationGrace);
    if (!self)
        co_return;
    m_isTerminating = false;
    if (!m_hasExited)
        co_return;
    // Not before: until it is reaped, its number stands for its session and nobody else's.
    reap();
    finishIfOver();
}
