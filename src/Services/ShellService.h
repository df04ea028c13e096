#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/CollectedText.h"

#include <QCoroTask>
#include <QMap>
#include <QUtf8StringView>
#include <chrono>
#include <expected>
#include <functional>
#include <memory>

#include "Utilities/AsyncMutex.h"

/// What a collected run came to.
struct ShellResult {
    int exitCode = 0;
    CollectedText output;
    CollectedText errorOutput;
};

/// Why there is no exit status of the command line.
struct ShellError {
    enum class Kind {
        NotStarted, ///< the shell could not be started
        ProfileEnded, ///< a file of the login profile ended or replaced the shell; the line was not run
        ProfileTooSlow, ///< the login profile did not end in time; the line was not run
        TooSlow, ///< a question that did not end in time; it was ended
    };

    Kind kind = Kind::NotStarted;
    QString description; ///< a Chinese sentence

    /// No other line would get further.
    bool isAboutProfile() const { return kind == Kind::ProfileEnded || kind == Kind::ProfileTooSlow; }
};

/// Receives a piece of terminal text as it comes, valid during the call only.
using OutputHandler = std::function<void(QUtf8StringView)>;

/// Runs the command lines of the catalog and the agents, each in a login zsh of its own that leads
/// its own session. The one place that starts local programs. Interface thread only.
class ShellService
{
public:
    using Environment = QMap<QByteArray, QByteArray>;

    static ShellService &shared();

    /// How long the login profile may take before the line begins, and a question altogether.
    static constexpr std::chrono::seconds timeLimit{30};

    /// `home` becomes HOME. `zshFolder` holds the start-up files every shell reads first (see
    /// resources/zsh); empty for none, and then nothing is known of the profile. `shell` is the executable.
    explicit ShellService(QString home, QString zshFolder, QString shell = QStringLiteral("/bin/zsh"),
                          std::chrono::milliseconds limit = timeLimit);
    ~ShellService(); ///< as abandonUseless()
    ShellService(const ShellService &) = delete;
    ShellService &operator=(const ShellService &) = delete;

    /// Runs to the end: the exit, and the closing of both outputs by everything that holds them. What
    /// the login profile prints is left out. Collected runs never overlap; a second one waits for its turn.
    ///
    /// The line finds each of `variables` in its environment, whatever a login profile sets it to. This is how
    /// secrets reach a line: its text stands in the shell's arguments, which everybody on the machine can read.
    QCoro::Task<std::expected<ShellResult, ShellError>> run(QString commandLine, Environment variables = {});

    /// A collected run that only asks something: over at the shell's exit or when the time is up,
    /// whichever is first, and whatever the profile or the line left behind is ended.
    QCoro::Task<std::expected<ShellResult, ShellError>> ask(QString question);

    /// Runs to the exit and gives each piece written to standard output or standard error to
    /// `onOutput` within 10 ms, as it is. Returns the exit status. Starts at once, also while a
    /// collected run is under way, so that an install never waits for a slow login profile.
    QCoro::Task<std::expected<int, ShellError>> runWithStreaming(QString commandLine, OutputHandler onOutput,
                                                                 Environment variables = {});

    /// The streamed run started last; null when none was, when any streamed run has ended since, or
    /// after cancellation. To cancel it, terminate() it and clear the field.
    std::shared_ptr<ChildProcess> currentStreamingProcess;

    /// Kills what nobody has a use for when this process ends: a question, and the login profile of a
    /// run whose line has not begun.
    void abandonUseless();

    /// The environment of every child.
    Environment buildEnvironment() const;

private:
    std::expected<std::shared_ptr<ChildProcess>, ShellError> start(const QString &commandLine,
                                                                   const Environment &variables,
                                                                   ChildProcess::Ending ending, PipeSink &output,
                                                                   PipeSink &error) const;
    QCoro::Task<std::expected<ShellResult, ShellError>> collect(QString commandLine, Environment variables,
                                                                ChildProcess::Ending ending);

    const QByteArray m_home;
    const QByteArray m_zshFolder;
    const QByteArray m_shell;
    const std::chrono::milliseconds m_timeLimit;
    std::weak_ptr<ChildProcess> m_collectedRun;
    bool m_isQuestion = false; ///< the collected run is
    AsyncMutex m_collectedRuns;
};
