#include "ToolRun.h"

#include "ChildProcess.h"

#include <QCoroSignal>
#include <QFile>
#include <unistd.h>

static ChildProcess::Command commandFor(const QString &executable, const QStringList &arguments)
{
    ChildProcess::Command command{.executable = QFile::encodeName(executable)};
    for (const QString &argument : arguments)
        command.arguments.append(QFile::encodeName(argument));
    for (char **variable = environ; *variable; ++variable)
        command.environment.append(*variable);
    return command;
}

QCoro::Task<std::expected<ToolResult, ToolError>> runTool(QString executable, QStringList arguments)
{
    ToolResult result;
    const auto child = ChildProcess::start(commandFor(executable, arguments), ChildProcess::Ending::AtEndOfFile,
                                           result.output, result.errorOutput);
    if (!child) {
        const QString reason = qt_error_string(child.error().value());
        co_return std::unexpected(ToolError{QStringLiteral("无法启动 %1：%2").arg(executable, reason)});
    }
    result.exitCode = co_await qCoro(child->get(), &ChildProcess::finished);
    co_return result;
}
