#include "Workspace.h"

#include <QCoroSignal>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// How each terminal is told what to run in a new window: the command line follows. The first two
/// stand for the one the user or the system has chosen.
const QList<QStringList> &terminals()
{
    static const QList<QStringList> list{
        {QStringLiteral("xdg-terminal-exec")},
        {QStringLiteral("x-terminal-emulator"), QStringLiteral("-e")},
        {QStringLiteral("gnome-terminal"), QStringLiteral("--")},
        {QStringLiteral("ptyxis"), QStringLiteral("--")},
        {QStringLiteral("kgx"), QStringLiteral("--")},
        {QStringLiteral("konsole"), QStringLiteral("-e")},
        {QStringLiteral("xfce4-terminal"), QStringLiteral("-x")},
        {QStringLiteral("mate-terminal"), QStringLiteral("-x")},
        {QStringLiteral("deepin-terminal"), QStringLiteral("-e")},
        {QStringLiteral("qterminal"), QStringLiteral("-e")},
        {QStringLiteral("terminator"), QStringLiteral("-x")},
        {QStringLiteral("kitty")},
        {QStringLiteral("alacritty"), QStringLiteral("-e")},
        {QStringLiteral("foot")},
        {QStringLiteral("wezterm"), QStringLiteral("start"), QStringLiteral("--")},
        {QStringLiteral("xterm"), QStringLiteral("-e")},
    };
    return list;
}

/// Nobody else can have put into the file what is about to run.
bool isOwn(const QString &path)
{
    struct stat file{};
    return ::lstat(QFile::encodeName(path), &file) == 0 && S_ISREG(file.st_mode) && file.st_uid == ::getuid()
        && (file.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

} // namespace

Workspace &Workspace::shared()
{
    static Workspace workspace;
    return workspace;
}

Workspace::Workspace(const QProcessEnvironment &environment)
    : m_environment(environment)
{
}

std::expected<void, WorkspaceError> Workspace::openCommandFile(const QString &path) const
{
    if (!isOwn(path))
        return std::unexpected(WorkspaceError{QStringLiteral("无法打开 %1：它不是当前用户的文件").arg(path)});

    // Run by its interpreter, as the folder may forbid running what is in it.
    const QStringList script{QStringLiteral("/bin/bash"), path};
    QList<QStringList> candidates = terminals();
    if (const QStringList chosen = QProcess::splitCommand(m_environment.value(QStringLiteral("TERMINAL")));
        !chosen.isEmpty())
        candidates.prepend(chosen + QStringList{QStringLiteral("-e")});
    const bool isStarted =
        std::ranges::any_of(candidates, [&](const QStringList &terminal) { return start(terminal + script); });
    if (!isStarted)
        return std::unexpected(WorkspaceError{QStringLiteral("没有找到终端程序，请安装一个终端后重试")});
    return {};
}

QCoro::Task<std::expected<void, WorkspaceError>> Workspace::openAddress(QUrl url) const
{
    // Owned by nobody until it has ended: the object would take its process along, which may be the
    // browser itself.
    auto *const process = new QProcess;
    const QStringList commandLine{QStringLiteral("xdg-open"), QString::fromLatin1(url.toEncoded())};
    process->setChildProcessModifier([] { ::setsid(); });
    const bool isInstalled = prepare(*process, commandLine);
    if (isInstalled)
        process->start();
    while (process->state() != QProcess::NotRunning)
        co_await qCoro(process, &QProcess::stateChanged);
    const bool isOpened = isInstalled && process->error() == QProcess::UnknownError && process->exitCode() == 0;
    process->deleteLater();
    if (!isOpened)
        co_return std::unexpected(WorkspaceError{QStringLiteral("没有找到浏览器")});
    co_return std::expected<void, WorkspaceError>();
}

bool Workspace::prepare(QProcess &process, const QStringList &commandLine) const
{
    const QStringList folders = m_environment.value(QStringLiteral("PATH")).split(u':', Qt::SkipEmptyParts);
    const QString program = QStandardPaths::findExecutable(commandLine.first(), folders);
    process.setProgram(program);
    process.setArguments(commandLine.sliced(1));
    process.setProcessEnvironment(m_environment);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return !program.isEmpty();
}

bool Workspace::start(const QStringList &commandLine) const
{
    QProcess process;
    return prepare(process, commandLine) && process.startDetached();
}
