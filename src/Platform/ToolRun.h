#pragma once

#include "CollectedText.h"

#include <QByteArrayList>
#include <QCoroTask>
#include <QStringList>
#include <chrono>
#include <expected>

/// What a program came to.
struct ToolResult {
    int exitCode = 0; ///< 128 + the signal's number when one ended it
    CollectedText output;
    CollectedText errorOutput;
};

/// A program that could not be started, or took too long: a Chinese sentence saying why.
struct ToolError {
    QString description;
};

/// How a program is run, where it is not as usual.
struct ToolSettings {
    QByteArrayList environment; ///< "NAME=value", in the place of the application's own
    /// It is ended with all that it has started once this has passed, and has failed then. Also, its own exit is
    /// its end, whatever still holds its output. Zero for no limit.
    std::chrono::milliseconds timeLimit{0};
};

/// Runs one of the system's small programs to its end, without a shell, in the application's own environment.
/// `executable` is an absolute path. Interface thread only.
QCoro::Task<std::expected<ToolResult, ToolError>> runTool(QString executable, QStringList arguments,
                                                          ToolSettings settings = {});
