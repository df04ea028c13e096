#include "CommandLine.h"

#include "Platform/Bundle.h"
#include "Platform/FileError.h"
#include "Platform/TerminationSignals.h"
#include "Platform/UserDefaults.h"
#include "Services/ShellService.h"
#include "Utilities/Log.h"
#include "Utilities/Text.h"
#include "ViewModels/SoftwareListViewModel.h"

#include <QEventLoop>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace {

using Operation = QCoro::Task<> (SoftwareListViewModel::*)(AISoftware *);

/// The operation a command stands for; null when there is none.
Operation operationOf(const QString &command)
{
    static const QHash<QString, Operation> operations{
        {QStringLiteral("install"), &SoftwareListViewModel::install},
        {QStringLiteral("upgrade"), &SoftwareListViewModel::upgrade},
        {QStringLiteral("uninstall"), &SoftwareListViewModel::uninstall},
        {QStringLiteral("start"), &SoftwareListViewModel::start},
        {QStringLiteral("stop"), &SoftwareListViewModel::stop},
        {QStringLiteral("configure"), &SoftwareListViewModel::configure},
    };
    return operations.value(command);
}

const char usage[] = "用法：\n"
                     "  vaelix                              打开窗口\n"
                     "  vaelix software list [--json]       列出软件及其状态\n"
                     "  vaelix software install ID          安装\n"
                     "  vaelix software upgrade ID          升级\n"
                     "  vaelix software uninstall ID        卸载\n"
                     "  vaelix software start ID            启动，并显示其输出直到它结束或按 Ctrl-C\n"
                     "  vaelix software stop ID             停止\n"
                     "  vaelix software configure ID        配置（注入云端 API 凭据）\n"
                     "  vaelix --help                       显示此说明\n"
                     "  vaelix --version                    显示版本\n"
                     "\n"
                     "退出码：0 成功，1 失败，2 用法错误。\n";

void printError(const QString &message)
{
    std::fputs((message + u'\n').toUtf8().constData(), stderr);
}

int wrongUse(const QString &message)
{
    printError(message);
    std::fputs(usage, stderr);
    return CommandLine::WrongUse;
}

/// Columns a terminal gives the text: two for each Chinese character.
qsizetype columns(const QString &text)
{
    return std::ranges::count_if(text, [](QChar unit) { return unit.unicode() >= 0x2E80; }) + text.size();
}

QString padded(const QString &text, qsizetype width)
{
    return text + QString(std::max<qsizetype>(0, width - columns(text)), u' ');
}

QByteArray asTable(const QList<AISoftware *> &list)
{
    QList<QStringList> rows{
        {QStringLiteral("ID"), QStringLiteral("名称"), QStringLiteral("状态"), QStringLiteral("本地版本")}};
    for (const AISoftware *software : list)
        rows.append({displayText(software->id()), software->name, software->statusName(), software->version()});
    QList<qsizetype> widths(rows.first().size(), 0);
    for (const QStringList &row : rows)
        for (qsizetype column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], columns(row[column]));
    QString table;
    for (const QStringList &row : rows) {
        QString line;
        for (qsizetype column = 0; column < row.size(); ++column)
            line += padded(row[column], widths[column] + 2);
        table += line.trimmed() + u'\n';
    }
    return table.toUtf8();
}

QByteArray asJSONText(const QList<AISoftware *> &list)
{
    auto array = nlohmann::ordered_json::array();
    for (const AISoftware *software : list) {
        nlohmann::ordered_json json;
        json["id"] = software->id().toStdString();
        json["name"] = software->name.toStdString();
        json["category"] = SoftwareCategory::rawValue(software->category).toStdString();
        json["status"] = SoftwareStatus::rawValue(software->status()).toStdString();
        json["version"] = software->version().toStdString();
        json["latestVersion"] = software->latestVersion.toStdString();
        if (software->installedAt())
            json["installedAt"] = software->installedAt()->toUTC().toString(Qt::ISODate).toStdString();
        array.push_back(std::move(json));
    }
    return QByteArray::fromStdString(array.dump(2)) + '\n';
}

} // namespace

CommandLine::CommandLine(SoftwareListViewModel &viewModel, ShellService &shell, UserDefaults &defaults)
    : m_viewModel(viewModel)
    , m_shell(shell)
    , m_defaults(defaults)
{
    Log::setStream(stderr);
    // A reader that has gone is an error of the next write, and not the end of an operation.
    std::signal(SIGPIPE, SIG_IGN);
}

QCoro::Task<int> CommandLine::run(QStringList arguments)
{
    const int status = co_await execute(arguments);
    co_return !isAllWritten() && status == Success ? Failure : status;
}

bool CommandLine::isAllWritten()
{
    m_defaults.flush();
    if (!m_defaults.problem().isEmpty())
        printError(m_defaults.problem());
    if (m_outputError != 0 && m_outputError != EPIPE)
        printError(FileError::notWritten(QStringLiteral("标准输出"), m_outputError).description);
    return m_outputError == 0 && m_defaults.problem().isEmpty();
}

void CommandLine::print(QByteArrayView utf8)
{
    const auto size = std::size_t(utf8.size());
    if ((std::fwrite(utf8.data(), 1, size, stdout) != size || std::fflush(stdout) != 0) && m_outputError == 0)
        m_outputError = errno;
}

int CommandLine::printHelp()
{
    print(usage);
    return Success;
}

int CommandLine::printVersion()
{
    const QString version = Bundle::main().shortVersion().value_or(QStringLiteral("1.0"));
    const QString build = Bundle::main().buildNumber().value_or(QStringLiteral("?"));
    print(QStringLiteral("Vaelix %1 (%2)\n").arg(version, build).toUtf8());
    return Success;
}

QCoro::Task<int> CommandLine::execute(QStringList arguments)
{
    if (arguments == QStringList{QStringLiteral("--help")} || arguments == QStringList{QStringLiteral("-h")})
        co_return printHelp();
    if (arguments == QStringList{QStringLiteral("--version")})
        co_return printVersion();
    if (arguments.takeFirst() != QLatin1String("software") || arguments.isEmpty())
        co_return wrongUse(QStringLiteral("无法识别的命令"));

    const QString command = arguments.takeFirst();
    if (command == QLatin1String("list")) {
        const bool asJSON = arguments == QStringList{QStringLiteral("--json")};
        if (!asJSON && !arguments.isEmpty())
            co_return wrongUse(QStringLiteral("list 只接受 --json"));
        co_return co_await list(asJSON);
    }
    if (!operationOf(command))
        co_return wrongUse(QStringLiteral("无法识别的命令: software %1").arg(command));
    if (arguments.size() != 1)
        co_return wrongUse(QStringLiteral("software %1 需要一个软件 ID").arg(command));
    co_return co_await operate(command, arguments.first());
}

QCoro::Task<> CommandLine::load()
{
    const TerminationSignals interrupts;
    leaveOn(interrupts);
    co_await m_viewModel.loadSoftware();
    if (!m_viewModel.detectionFailure().isEmpty())
        printError(m_viewModel.detectionFailure());
}

QCoro::Task<int> CommandLine::list(bool asJSON)
{
    co_await load();
    print(asJSON ? asJSONText(m_viewModel.softwareList()) : asTable(m_viewModel.softwareList()));
    co_return m_viewModel.detectionFailure().isEmpty() ? Success : Failure;
}

QCoro::Task<int> CommandLine::operate(QString command, QString softwareId)
{
    co_await load();
    AISoftware *const software = m_viewModel.software(softwareId);
    if (!software) {
        printError(QStringLiteral("没有 ID 为 “%1” 的软件，可用 vaelix software list 查看").arg(softwareId));
        co_return Failure;
    }
    QObject::connect(m_viewModel.terminalOutput(), &TerminalOutput::appended, &m_viewModel,
                     [this](QUtf8StringView text) { print(QByteArrayView(text.data(), text.size())); });
    if (command == QLatin1String("start"))
        co_return co_await startAndStay(software);

    const TerminationSignals interrupts;
    if (command == QLatin1String("stop"))
        leaveOn(interrupts);
    else
        QObject::connect(&interrupts, &TerminationSignals::received, &interrupts,
                         [this, command, software] { cancel(command, software); });
    const auto running = std::invoke(operationOf(command), m_viewModel, software);
    co_await running;
    co_return outcome();
}

QCoro::Task<int> CommandLine::startAndStay(AISoftware *software)
{
    const TerminationSignals interrupts;
    const auto starting = m_viewModel.start(software);
    const auto process = m_shell.currentStreamingProcess;
    if (outcome() == Failure || !process)
        co_return Failure;

    QEventLoop untilEndOrInterrupt;
    QObject::connect(process.get(), &ChildProcess::finished, &untilEndOrInterrupt, &QEventLoop::quit);
    QObject::connect(&interrupts, &TerminationSignals::received, &untilEndOrInterrupt, &QEventLoop::quit);
    untilEndOrInterrupt.exec();
    if (!process->hasBegun() && !process->exitCode())
        leave(SIGINT);
    co_await starting;
    if (outcome() == Failure)
        co_return Failure;
    co_await m_viewModel.detectAllStatus();
    if (!process->exitCode()) {
        printError(QStringLiteral("不再显示输出；停止该软件请执行 vaelix software stop %1").arg(software->id()));
        co_return Success;
    }
    if (*process->exitCode() == 0)
        co_return Success;
    printError(QStringLiteral("启动命令已结束，退出码: %1").arg(*process->exitCode()));
    co_return Failure;
}

void CommandLine::leaveOn(const TerminationSignals &interrupts)
{
    QObject::connect(&interrupts, &TerminationSignals::received, &interrupts, [this](int signal) { leave(signal); });
}

void CommandLine::leave(int signal)
{
    m_shell.abandonUseless();
    std::_Exit(128 + signal);
}

void CommandLine::cancel(const QString &command, AISoftware *software)
{
    if (command != QLatin1String("configure"))
        m_viewModel.cancelInstall(software);
    else if (m_shell.currentStreamingProcess)
        m_shell.currentStreamingProcess->terminate();
}

int CommandLine::outcome() const
{
    if (m_viewModel.errorMessage().isEmpty())
        return Success;
    printError(m_viewModel.errorMessage());
    return Failure;
}
