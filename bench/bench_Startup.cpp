// The application from its start to its first frame, against an empty Qt Quick window, both started
// and watched from outside in the same way. The scene graph's own log tells when the first frame is
// on the screen; the process is then stopped and looked at. Somebody is signed in, so it is the main
// screen that is drawn, not the login.
//
//     bench_Startup PATH-OF-VAELIX

#include "Measure.h"
#include "Services/KeychainService.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct FirstFrame {
    double seconds = 0;
    double residentMiB = 0;
    double privateMiB = 0;
    int webEngineLibraries = 0;
};

QByteArray processFile(pid_t pid, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(file.fileName()));
    return file.readAll();
}

double mebibytes(const QByteArray &rollup, const QByteArray &field)
{
    const qsizetype start = rollup.indexOf('\n' + field + ':') + field.size() + 2;
    return rollup.mid(start, rollup.indexOf("kB", start) - start).trimmed().toDouble() / 1024;
}

int webEngineLibraries(pid_t pid)
{
    QList<QByteArray> libraries;
    for (const QByteArray &line : processFile(pid, "maps").split('\n'))
        if (const QByteArray path = line.mid(line.indexOf('/'));
            path.contains("WebEngine") && !libraries.contains(path))
            libraries.append(path);
    return int(libraries.size());
}

void waitForFirstFrame(int log, const QByteArray &program)
{
    QByteArray text;
    char buffer[4096];
    while (!text.contains("Frame rendered")) {
        const ssize_t count = ::read(log, buffer, sizeof buffer);
        if (count <= 0)
            qFatal("%s drew nothing:\n%s", program.constData(), text.constData());
        text.append(buffer, count);
    }
}

FirstFrame observe(const QByteArray &program)
{
    int log[2];
    if (::pipe2(log, O_CLOEXEC) != 0)
        qFatal("No pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, log[1], STDERR_FILENO);
    char *const arguments[] = {const_cast<char *>(program.constData()), nullptr};
    pid_t pid = 0;
    FirstFrame result;

    QElapsedTimer timer;
    timer.start();
    if (posix_spawn(&pid, program.constData(), &actions, nullptr, arguments, environ) != 0)
        qFatal("%s cannot be started", program.constData());
    ::close(log[1]);
    waitForFirstFrame(log[0], program);
    result.seconds = double(timer.nsecsElapsed()) / 1e9;

    ::kill(pid, SIGSTOP);
    const QByteArray rollup = processFile(pid, "smaps_rollup");
    result.residentMiB = mebibytes(rollup, "Rss");
    result.privateMiB = mebibytes(rollup, "Private_Dirty") + mebibytes(rollup, "Private_Clean");
    result.webEngineLibraries = webEngineLibraries(pid);
    ::kill(pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    ::close(log[0]);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

QString mebibytesText(double mebibytes)
{
    return QString::number(mebibytes, 'f', 1) + QStringLiteral(" MiB");
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    const QByteArray vaelix = argv[1];
    const QByteArray emptyWindow = QFile::encodeName(QCoreApplication::applicationDirPath()) + "/bench_EmptyWindow";
    const QTemporaryDir scratch;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratch.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(scratch.path()));
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_FORCE_STDERR_LOGGING", "1");
    qputenv("QT_LOGGING_RULES", "qt.scenegraph.time.renderloop.debug=true");
    qputenv("VAELIX_SERVER_ORIGIN", "http://127.0.0.1:9"); // nothing listens there
    KeychainService keychain;
    keychain.save(QStringLiteral("auth_token"), QStringLiteral("token"));
    keychain.save(QStringLiteral("user_id"), QStringLiteral("user"));
    if (!keychain.get(QStringLiteral("user_id")))
        qFatal("The keychain keeps nothing");

    QList<FirstFrame> ours;
    QList<FirstFrame> theirs;
    observe(vaelix);
    observe(emptyWindow);
    for (int round = 0; round < 31; ++round) {
        ours.append(observe(vaelix));
        theirs.append(observe(emptyWindow));
    }
    const auto values = [](const QList<FirstFrame> &frames, double FirstFrame::*field) {
        QList<double> list;
        for (const FirstFrame &frame : frames)
            list.append(frame.*field);
        return list;
    };

    const Comparison time = compare(values(ours, &FirstFrame::seconds), values(theirs, &FirstFrame::seconds));
    report({.name = QStringLiteral("first frame"),
            .measured = milliseconds(time.ours),
            .against = milliseconds(time.theirs) + QStringLiteral(" an empty Qt Quick window"),
            .value = time.ratio,
            .target = 2.2});
    const Comparison memory = compare(values(ours, &FirstFrame::residentMiB), values(theirs, &FirstFrame::residentMiB));
    report({.name = QStringLiteral("memory at first frame (resident)"),
            .measured = mebibytesText(memory.ours),
            .against = mebibytesText(memory.theirs) + QStringLiteral(" an empty Qt Quick window"),
            .value = memory.ratio,
            .target = 1.6});
    const Comparison own = compare(values(ours, &FirstFrame::privateMiB), values(theirs, &FirstFrame::privateMiB));
    qInfo("private memory: %.1f MiB against %.1f MiB", own.ours, own.theirs);
    report({.name = QStringLiteral("Qt WebEngine libraries mapped, no web page opened"),
            .measured = QString::number(ours.first().webEngineLibraries),
            .value = double(ours.first().webEngineLibraries),
            .target = 0});
}
