#include "ToolRun.h"

#include "ChildProcess.h"

#include <QCoroSignal>
#include <QFile>
#include <QTimer>
#include <algorithm>
#include <unistd.h>

using namespace std::chrono_literals;

static bool isReplaced(const char *variable, const QByteArrayList &environment)
{
    const QByteArrayView own(variable);
    const QByteArrayView name = own.first(own.indexOf('=') + 1);
    return std::ranges::any_of(environment, [&](const QByteArray &other) { return other.startsWith(name); });
}

static ChildProcess::Command commandFor(const QString &executable, const QStringList &arguments,
                                        const QByteArrayList &environment)
{
    ChildProcess::Command command{.executable = QFile::encodeName(executable)};
    for (const QString &argument : arguments)
        command.arguments.append(QFile::encodeName(argument));
    command.environment = environment;
    for (char **variable = environ; *variable; ++variable)
        if (!isReplaced(*variable, environment))
            command.environment.append(*variable);
    return command;
}

QCoro::Task<std::expected<ToolResult, ToolError>> runTool(QString executable, QStringList arguments,
                                                          ToolSettings settings)
{
    const bool isLimited = settings.timeLimit > 0ms;
    ToolResult result;
    const auto child = ChildProcess::start(commandFor(executable, arguments, settings.environment),
                                           isLimited ? ChildProcess::Ending::AtExit : ChildProcess::Ending::AtEndOfFile,
                                           result.output, result.errorOutput);
    if (!child) {
        const QString reason = qt_error_string(child.error().value());
        co_return std::unexpected(ToolError{QStringLiteral("无法启动 %1：%2").arg(executable, reason)});
    }
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, child->get(), &ChildProcess::terminate);
    if (isLimited)
        limit.start(settings.timeLimit);
    result.exitCode = co_await qCoro(child->get(), &ChildProcess::finished);
    if (isLimited && !limit.isActive())
        co_return std::unexpected(ToolError{QStringLiteral("%1 没有在限定的时间内结束").arg(executable)});
    co_return result;
}
