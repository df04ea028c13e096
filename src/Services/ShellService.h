#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/CollectedText.h"

#include <QCoroTask>
#include <QMap>
#include <QUtf8StringView>
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

/// A command line that could not be started: a Chinese sentence saying why. Nothing was run.
struct ShellError {
    QString description;
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

    /// `home` becomes HOME. `zshFolder` holds the start-up file every shell reads first (see
    /// resources/zsh); empty for none. `shell` is the executable.
    explicit ShellService(QString home, QString zshFolder, QString shell = QStringLiteral("/bin/zsh"));

    /// Runs to the end: the exit, and the closing of both outputs by everything that holds them.
    /// Collected runs never overlap; a second one waits for its turn.
    ///
    /// The line finds each of `variables` in its environment, whatever a login profile sets it to. This is how
    /// secrets reach a line: its text stands in the shell's arguments, which everybody on the machine can read.
    QCoro::Task<std::expected<ShellResult, ShellError>> run(QString commandLine, Environment variables = {});

    /// Runs to the exit and gives each piece written to standard output or standard error to
    /// `onOutput` within 10 ms, as it is. Returns the exit status. Starts at once, also while a
    /// collected run is under way, so that an install never waits for a slow login profile.
    QCoro::Task<std::expected<int, ShellError>> runWithStreaming(QString commandLine, OutputHandler onOutput,
                                                                 Environment variables = {});

    /// The streamed run started last; null when none was, when any streamed run has ended since, or
    /// after cancellation. To cancel it, terminate() it and clear the field.
    std::shared_ptr<ChildProcess> currentStreamingProcess;

    /// The environment of every child.
    Environment buildEnvironment() const;

private:
    std::expected<std::shared_ptr<ChildProcess>, ShellError> start(const QString &commandLine,
                                                                   const Environment &variables,
                                                                   ChildProcess::Ending ending, PipeSink &output,
                                                                   PipeSink &error) const;

    const QByteArray m_home;
    const QByteArray m_zshFolder;
    const QByteArray m_shell;
    AsyncMutex m_collectedRuns;
};
