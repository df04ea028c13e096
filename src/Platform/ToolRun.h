#pragma once

#include "CollectedText.h"

#include <QCoroTask>
#include <QStringList>
#include <expected>

/// What a program came to.
struct ToolResult {
    int exitCode = 0; ///< 128 + the signal's number when one ended it
    CollectedText output;
    CollectedText errorOutput;
};

/// A program that could not be started: a Chinese sentence saying why.
struct ToolError {
    QString description;
};

/// Runs one of the system's small programs to its end, without a shell, in the application's own environment.
/// `executable` is an absolute path. Interface thread only.
QCoro::Task<std::expected<ToolResult, ToolError>> runTool(QString executable, QStringList arguments);
