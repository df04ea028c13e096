#pragma once

#include "PipeReader.h"

#include <QByteArrayList>
#include <QCoroTask>
#include <expected>
#include <memory>
#include <optional>
#include <system_error>

/// One child process in a session of its own, with a pipe on standard output and one on standard
/// error. It is started with a clean signal mask and inherits standard input and nothing else, save
/// a third pipe on descriptor 3 where it is to tell that its real work begins. Interface thread only.
class ChildProcess : public QObject
{
    Q_OBJECT

public:
    struct Command {
        QByteArray executable; ///< absolute path
        QByteArrayList arguments; ///< without the executable
        QByteArrayList environment; ///< "NAME=value"
        bool tellsBeginning = false; ///< whatever it writes to descriptor 3 is the sign that it begins
    };

    /// When the run is over.
    enum class Ending {
        AtExit, ///< at the child's exit, after delivering what the pipes hold at that moment
        AtEndOfFile, ///< when the child has exited and both pipes are closed by all their writers
        WithSession, ///< as AtExit, once everything else in the child's session has been ended
    };

    /// Fails with the system's error when the process cannot be started; nothing was run then.
    /// The sinks must live until finished().
    static std::expected<std::shared_ptr<ChildProcess>, std::error_code> start(const Command &command, Ending ending,
                                                                               PipeSink &output, PipeSink &error);

    /// Dropping a running child neither ends it nor delivers more of its output, and reaps it
    /// when it ends.
    ~ChildProcess() override;

    qint64 processIdentifier() const { return m_pid; }

    /// The child has told that it begins, or was never asked to.
    bool hasBegun() const { return m_hasBegun; }

    /// terminate() was called while it ran.
    bool wasTerminated() const { return m_wasTerminated; }

    /// The exit status, 128 + the signal's number for a child that a signal ended; none while it runs.
    std::optional<int> exitCode() const { return m_exitCode; }

    /// Asks the child and everything else in its session to end and kills what is left 700 ms
    /// later; the run is over only then. Does nothing once the child has ended, so what a finished
    /// command left in the background stays.
    void terminate();

    /// Ends the child's session at once, without a chance to clean up; for when no event loop will run
    /// any more.
    void kill();

Q_SIGNALS:
    void begun();
    /// The child can no longer tell that it begins: it, or what it has turned into, let go of the pipe.
    void beginningLost();
    /// The run is over by its Ending; emitted once, with the exit code.
    void finished(int exitCode);

private:
    ChildProcess(pid_t pid, FileDescriptor exitHandle, Ending ending);

    void watchBeginning(FileDescriptor pipe);
    void readBeginning();
    void read(FileDescriptor outputPipe, PipeSink &output, FileDescriptor errorPipe, PipeSink &error);
    QCoro::Task<> endSession();
    void noteExit();
    void reap();
    void finishIfOver();

    pid_t m_pid;
    FileDescriptor m_exitHandle;
    QSocketNotifier m_exitNotifier;
    Ending m_ending;
    std::unique_ptr<PipeReader> m_output;
    std::unique_ptr<PipeReader> m_error;
    FileDescriptor m_beginning; ///< open until the child has begun or lost the chance
    std::unique_ptr<QSocketNotifier> m_beginningNotifier;
    bool m_hasBegun = true;
    std::optional<int> m_exitCode;
    bool m_hasExited = false;
    bool m_isTerminating = false;
    bool m_wasTerminated = false;
};
