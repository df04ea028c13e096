#include "ShellService.h"

#include "Platform/Bundle.h"
#include "Platform/Folders.h"
#include "Utilities/UTF8Stream.h"

#include <QCoroSignal>
#include <QFile>
#include <QTimer>
#include <algorithm>
#include <array>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

const QByteArray defaultPath = "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin";

/// The kernel's bound on one argument, its closing NUL included.
constexpr qsizetype longestCommandLine = 128 * 1024 - 1;

QString describe(const QByteArray &shell, std::error_code error)
{
    const QString name = QFile::decodeName(shell);
    if (error == std::errc::no_such_file_or_directory)
        return QStringLiteral("无法启动 %1：找不到该程序，请先安装 zsh").arg(name);
    if (error == std::errc::permission_denied)
        return QStringLiteral("无法启动 %1：没有执行权限").arg(name);
    if (error == std::errc::resource_unavailable_try_again || error == std::errc::not_enough_memory
        || error == std::errc::too_many_files_open)
        return QStringLiteral("无法启动 %1：系统资源不足，请关闭一些程序后重试").arg(name);
    return QStringLiteral("无法启动 %1：%2").arg(name, QString::fromStdString(error.message()));
}

QByteArrayList assignments(const ShellService::Environment &environment)
{
    QByteArrayList list;
    for (auto variable = environment.begin(); variable != environment.end(); ++variable)
        list.append(variable.key() + '=' + variable.value());
    return list;
}

/// The name under which a variable's value waits until the login profile, which may set the variable, has been read.
QByteArray waitingName(const QByteArray &variable)
{
    return "VAELIX_GIVEN_" + variable;
}

/// Shell text that sets the variables for what follows it.
QByteArray settingOf(const ShellService::Environment &variables)
{
    QByteArray text;
    for (const QByteArray &name : variables.keys())
        text += "export " + name + "=\"$" + waitingName(name) + "\"; unset " + waitingName(name) + "; ";
    return text;
}

/// Why zsh could not run the line as it stands with the variables; empty when it can.
QString objection(const QByteArray &commandLine, const ShellService::Environment &variables)
{
    if (commandLine.contains('\0'))
        return QStringLiteral("无法执行命令：命令行中含有空字符");
    // zsh would take either for options of its own.
    if (commandLine.startsWith('-') || commandLine.startsWith('+'))
        return QStringLiteral("无法执行命令：命令行不能以“%1”开头").arg(QLatin1Char(commandLine.front()));
    if (settingOf(variables).size() + commandLine.size() > longestCommandLine)
        return QStringLiteral("无法执行命令：命令行过长（超过 128 KB）");
    if (std::ranges::any_of(variables, [](const QByteArray &value) { return value.contains('\0'); }))
        return QStringLiteral("无法执行命令：变量的值中含有空字符");
    return {};
}

/// Ends a run whose line does not begin, or that as a question does not end, and tells why.
class RunWatch
{
public:
    RunWatch(ChildProcess &child, ChildProcess::Ending ending, std::chrono::milliseconds limit)
        : m_child(child)
    {
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_isLate = true;
            m_child.terminate();
        });
        QObject::connect(&child, &ChildProcess::beginningLost, &m_timer, [this] {
            // One that is being terminated loses it, too.
            m_isReplaced = !m_child.wasTerminated();
            m_child.terminate();
        });
        const bool isQuestion = ending == ChildProcess::Ending::WithSession;
        if (!isQuestion)
            QObject::connect(&child, &ChildProcess::begun, &m_timer, &QTimer::stop);
        if (isQuestion || !child.hasBegun())
            m_timer.start(limit);
    }

    /// Of a run that is over.
    std::expected<int, ShellError> outcome(const QString &commandLine, int exitCode) const
    {
        using enum ShellError::Kind;
        const qint64 seconds = m_timer.intervalAsDuration() / 1s;
        if (m_isLate && !m_child.hasBegun())
            return failure(ProfileTooSlow,
                           QStringLiteral("登录配置（~/.zprofile 等）%1 秒内没有执行完，命令没有执行。"
                                          "请检查其中是否有一直不结束的命令")
                               .arg(seconds));
        if (m_isLate)
            return failure(TooSlow, QStringLiteral("命令 %1 秒内没有结束，已中止：%2").arg(seconds).arg(commandLine));
        if (!m_child.hasBegun() && (m_isReplaced || !m_child.wasTerminated()))
            return failure(
                ProfileEnded,
                QStringLiteral("登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell，命令没有执行"));
        return exitCode;
    }

private:
    static std::unexpected<ShellError> failure(ShellError::Kind kind, const QString &description)
    {
        return std::unexpected(ShellError{kind, description});
    }

    ChildProcess &m_child;
    QTimer m_timer;
    bool m_isLate = false;
    bool m_isReplaced = false;
};

/// Gives the text of a pipe to an output handler.
class StreamedText : public PipeSink
{
public:
    explicit StreamedText(const OutputHandler &onOutput)
        : m_stream(onOutput)
    {
    }

    std::span<char> room() override
    {
        // One buffer serves all pipes: they are read on the interface thread only, one at a time.
        static std::array<char, 256 * 1024> buffer;
        return buffer;
    }

    void received(qsizetype count) override { m_stream.feed(room().first(size_t(count))); }

private:
    UTF8Stream m_stream;
};

} // namespace

ShellService &ShellService::shared()
{
    static ShellService service(Folders::user().home,
                                Bundle::main().resource(QStringLiteral("zsh")).value_or(QString()));
    return service;
}

ShellService::ShellService(QString home, QString zshFolder, QString shell, std::chrono::milliseconds limit)
    : m_home(QFile::encodeName(home))
    , m_zshFolder(QFile::encodeName(zshFolder))
    , m_shell(QFile::encodeName(shell))
    , m_timeLimit(limit)
{
}

ShellService::~ShellService()
{
    abandonUseless();
}

void ShellService::abandonUseless()
{
    const auto collected = m_collectedRun.lock();
    if (collected && (m_isQuestion || !collected->hasBegun()))
        collected->kill();
    if (currentStreamingProcess && !currentStreamingProcess->hasBegun())
        currentStreamingProcess->kill();
}

ShellService::Environment ShellService::buildEnvironment() const
{
    Environment environment;
    for (char **variable = environ; *variable; ++variable) {
        const QByteArrayView assignment(*variable);
        const qsizetype equals = assignment.indexOf('=');
        if (equals > 0)
            environment.insert(assignment.first(equals).toByteArray(), assignment.sliced(equals + 1).toByteArray());
    }
    environment["PATH"] = environment.contains("PATH") ? defaultPath + ':' + environment["PATH"] : defaultPath;
    environment["HOME"] = m_home;
    environment["LANG"] = "en_US.UTF-8";
    if (!m_zshFolder.isEmpty()) {
        if (environment.contains("ZDOTDIR"))
            environment["VAELIX_USER_ZDOTDIR"] = environment["ZDOTDIR"];
        environment["ZDOTDIR"] = m_zshFolder;
    }
    return environment;
}

std::expected<std::shared_ptr<ChildProcess>, ShellError> ShellService::start(const QString &commandLine,
                                                                             const Environment &variables,
                                                                             ChildProcess::Ending ending,
                                                                             PipeSink &output, PipeSink &error) const
{
    const QByteArray line = commandLine.toUtf8();
    if (const QString reason = objection(line, variables); !reason.isEmpty())
        return std::unexpected(ShellError{ShellError::Kind::NotStarted, reason});
    Environment environment = buildEnvironment();
    for (auto variable = variables.begin(); variable != variables.end(); ++variable)
        environment[waitingName(variable.key())] = *variable;
    // The start-up files only tell that the line begins where they are ours.
    const bool tellsBeginning = !m_zshFolder.isEmpty();
    if (tellsBeginning)
        environment["VAELIX_RUN"] = ending == ChildProcess::Ending::AtExit ? "streamed" : "collected";
    const ChildProcess::Command command{
        m_shell, {"-l", "-c", settingOf(variables) + line}, assignments(environment), tellsBeginning};
    auto child = ChildProcess::start(command, ending, output, error);
    if (!child)
        return std::unexpected(ShellError{ShellError::Kind::NotStarted, describe(m_shell, child.error())});
    return std::move(*child);
}

QCoro::Task<std::expected<ShellResult, ShellError>> ShellService::run(QString commandLine, Environment variables)
{
    return collect(commandLine, variables, ChildProcess::Ending::AtEndOfFile);
}

QCoro::Task<std::expected<ShellResult, ShellError>> ShellService::ask(QString question)
{
    return collect(question, {}, ChildProcess::Ending::WithSession);
}

QCoro::Task<std::expected<ShellResult, ShellError>> ShellService::collect(QString commandLine, Environment variables,
                                                                          ChildProcess::Ending ending)
{
    const auto turn = co_await m_collectedRuns.lock();
    CollectedText output;
    CollectedText errorOutput;
    const auto child = start(commandLine, variables, ending, output, errorOutput);
    if (!child)
        co_return std::unexpected(child.error());
    m_collectedRun = *child;
    m_isQuestion = ending == ChildProcess::Ending::WithSession;
    const RunWatch watch(**child, ending, m_timeLimit);
    const int exitCode = co_await qCoro(child->get(), &ChildProcess::finished);
    if (const auto outcome = watch.outcome(commandLine, exitCode); !outcome)
        co_return std::unexpected(outcome.error());
    co_return ShellResult{exitCode, std::move(output), std::move(errorOutput)};
}

QCoro::Task<std::expected<int, ShellError>> ShellService::runWithStreaming(QString commandLine, OutputHandler onOutput,
                                                                           Environment variables)
{
    StreamedText output(onOutput);
    StreamedText errorOutput(onOutput);
    constexpr auto ending = ChildProcess::Ending::AtExit;
    const auto child = start(commandLine, variables, ending, output, errorOutput);
    if (!child)
        co_return std::unexpected(child.error());
    currentStreamingProcess = *child;
    const RunWatch watch(**child, ending, m_timeLimit);
    const int exitCode = co_await qCoro(child->get(), &ChildProcess::finished);
    currentStreamingProcess = nullptr;
    co_return watch.outcome(commandLine, exitCode);
}
