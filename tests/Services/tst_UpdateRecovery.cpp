// What is left of an update that was broken off, and what the next start makes of it.

#include "Platform/FolderContent.h"
#include "Platform/PrivateFolder.h"
#include "Services/UpdateRecovery.h"
#include "Services/UpdateScript.h"
#include "Support/Bundles.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// What is to be noted whenever a disk is flushed.
std::function<void()> onFlush = [] { };
bool isDiskBroken = false;

/// Changes to the disk after which the process is killed; none when it is negative.
int changesLeft = -1;

void countChange()
{
    if (changesLeft-- == 0)
        ::kill(::getpid(), SIGKILL);
}

} // namespace

// In the place of the system's, which they call.

extern "C" int unlinkat(int folder, const char *name, int flags) noexcept
{
    countChange();
    return int(::syscall(SYS_unlinkat, folder, name, flags));
}

extern "C" int renameat2(int from, const char *name, int to, const char *newName, unsigned flags) noexcept
{
    countChange();
    return int(::syscall(SYS_renameat2, from, name, to, newName, flags));
}

extern "C" int syncfs(int descriptor) noexcept
{
    onFlush();
    errno = EIO;
    return isDiskBroken ? -1 : int(::syscall(SYS_syncfs, descriptor));
}

namespace {

/// How the script moves.
enum class Moves {
    Plain, // as the system's mv does
    Whole, // as the script is run
};

/// Build 42 at its path, build 43 in a temporary folder.
struct Fixture {
    Fixture()
    {
        makeBundle(bundle, 42);
        makeBundle(newBundle, 43);
        oldExtent = extentOf(bundle);
        newExtent = extentOf(newBundle);
        scratch.writeProgram(u"bin/open"_s, "#!/bin/sh\n");
    }

    void expectSwap() const { QVERIFY(QCoro::waitFor(recovery.expectSwap(bundle, newBundle, temporaryFolder))); }
    /// Runs the script that swaps them, up to a line, where it is killed. False when it got to its end, past a line
    /// that it had no need of.
    bool swapUpTo(qsizetype line, Moves moves) const
    {
        QByteArrayList script = updateScript(endedProcess(), newBundle, bundle, temporaryFolder.path).split('\n');
        script.insert(line, "kill -9 $$");
        scratch.write(u"Vaelix_update_1/update.sh"_s, script.join('\n'));
        scratch.write(u"Vaelix_update_1/moves.sh"_s, updateScriptMoves());
        QProcess bash;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, scratch.path(u"bin:"_s) + environment.value(u"PATH"_s));
        if (moves == Moves::Whole)
            environment.insert(u"BASH_ENV"_s, temporaryFolder.path + u"/moves.sh"_s);
        bash.setProcessEnvironment(environment);
        bash.start(u"/bin/bash"_s, {temporaryFolder.path + u"/update.sh"_s});
        return bash.waitForFinished() && bash.exitStatus() == QProcess::CrashExit;
    }
    /// The program that stands at either path, as its user would start it; recovers and tells what is to run.
    QString start() const
    {
        const QString running = Bundle::at(bundle).executable() ? bundle : backup;
        return recovery.recover(running).bundle.value_or(running);
    }
    /// What stands beside the bundle, the record apart.
    QStringList left() const { return QDir(scratch.home.path()).entryList({u"Vaelix*"_s}); }
    bool hasRecord() const { return QFileInfo::exists(scratch.path(u"Updates/swap.json"_s)); }

    Scratch scratch;
    const QString bundle = scratch.path(u"Vaelix.app"_s);
    const QString backup = bundle + u".backup"_s;
    const QString misplaced = bundle + u"/Vaelix.app.backup"_s;
    const PrivateFolder temporaryFolder = PrivateFolder::make(scratch.path(u"Vaelix_update_1"_s)).value();
    const QString newBundle = temporaryFolder.path + u"/Foo.app"_s;
    const UpdateRecovery recovery{scratch.path(u"Updates"_s)};
    std::optional<FolderExtent> oldExtent;
    std::optional<FolderExtent> newExtent;
};

} // namespace

class tst_UpdateRecovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void scriptKilledAtALine_data();
    void scriptKilledAtALine();
    void scriptKilledInACommand_data();
    void scriptKilledInACommand();
    void moveThatWasBrokenOff_data();
    void moveThatWasBrokenOff();
    void recoveryKilledAtAChange_data();
    void recoveryKilledAtAChange();
    void bundleThatWasPutThereSince_data();
    void bundleThatWasPutThereSince();
    void noBundleIsWhole();
    void preparationThatWasBrokenOff();
    void temporaryFolderThatIsAnothers();
    void oldBundleIsGivenUpForOneOnTheDisk();
    void updateUnderWay();
    void lockOfSomebodyElse();
    void nothingToRecover();
};

void tst_UpdateRecovery::cleanup()
{
    onFlush = [] { };
    isDiskBroken = false;
}

void tst_UpdateRecovery::scriptKilledAtALine_data()
{
    const auto row = columns<qsizetype, Moves>("line", "moves");
    const qsizetype lines = updateScript(1, u"/n"_s, u"/o"_s, u"/t"_s).count('\n') + 1;
    for (qsizetype line = 1; line <= lines; ++line)
        for (const Moves moves : {Moves::Plain, Moves::Whole})
            row(QByteArray::number(line) + (moves == Moves::Plain ? ", plain" : ""), line, moves);
}

void tst_UpdateRecovery::scriptKilledAtALine()
{
    QFETCH(qsizetype, line);
    QFETCH(Moves, moves);
    const Fixture fixture;
    fixture.expectSwap();
    const bool isKilled = fixture.swapUpTo(line, moves);
    QCOMPARE(fixture.start(), fixture.bundle);
    constexpr qsizetype lineOfTheMove = 26;
    const bool isNew = !isKilled || line >= lineOfTheMove;
    QCOMPARE(buildOf(fixture.bundle), isNew ? u"43"_s : u"42"_s);
    QVERIFY(Bundle::at(fixture.bundle).executable());
    QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::scriptKilledInACommand_data()
{
    // Which call of a command of the script's ends with all killed, and what it does before.
    const auto row = columns<QByteArray, int, QByteArray, QString>("command", "call", "work", "build");
    const QByteArray all = "\"$@\"";
    const QByteArray halfCopy = "-a \"$2/Contents/MacOS\" \"$3/Contents/\""; // the program, not the data
    const QByteArray halfRemoval = "-rf \"$2/Contents/MacOS\"";
    row("old one not set aside", "mv", 1, "", u"42"_s);
    row("old one set aside", "mv", 1, all, u"42"_s);
    row("copy not begun", "cp", 1, "", u"42"_s);
    row("copy half done", "cp", 1, halfCopy, u"42"_s);
    row("copied", "cp", 1, all, u"42"_s);
    row("copy flushed", "sync", 1, all, u"42"_s);
    row("new one not in place", "mv", 2, "", u"42"_s);
    row("new one in place", "mv", 2, all, u"43"_s);
    row("new one flushed", "sync", 2, all, u"43"_s);
    row("old one half deleted", "rm", 3, halfRemoval, u"43"_s);
    row("old one deleted", "rm", 3, all, u"43"_s);
    row("opened", "open", 1, "", u"43"_s);
    row("temporary folder half deleted", "rm", 4, "-rf \"$2/update.sh\"", u"43"_s);
}

void tst_UpdateRecovery::scriptKilledInACommand()
{
    QFETCH(QByteArray, command);
    QFETCH(int, call);
    QFETCH(QByteArray, work);
    QFETCH(QString, build);
    const Fixture fixture;
    fixture.expectSwap();
    const QByteArray system = "PATH=${PATH#*:} " + command + ' ';
    QByteArray program = "#!/bin/bash\necho >> '" + fixture.scratch.path(u"calls"_s).toUtf8() + "'\n[ $(wc -l < '"
        + fixture.scratch.path(u"calls"_s).toUtf8() + "') -eq " + QByteArray::number(call) + " ] || exec env " + system
        + "\"$@\"\n";
    if (work.startsWith("-a"))
        program += "mkdir -p \"$3/Contents\"\n";
    program += (work.isEmpty() ? QByteArray() : system + work + '\n') + "kill -9 $PPID\n";
    fixture.scratch.writeProgram(u"bin/"_s + QString::fromLatin1(command), program);
    const qsizetype lines = updateScript(1, u"/n"_s, u"/o"_s, u"/t"_s).count('\n') + 1;
    fixture.swapUpTo(lines, Moves::Whole);
    QVERIFY(QFile::exists(fixture.scratch.path(u"calls"_s)));
    QCOMPARE(fixture.start(), fixture.bundle);
    QCOMPARE(buildOf(fixture.bundle), build);
    QCOMPARE(extentOf(fixture.bundle), build == u"42"_s ? fixture.oldExtent : fixture.newExtent);
    QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::recoveryKilledAtAChange_data()
{
    const auto row = columns<bool, QString>("isNewWhole", "build");
    row("old one put back", false, u"42"_s);
    row("old one deleted", true, u"43"_s);
}

void tst_UpdateRecovery::recoveryKilledAtAChange()
{
    QFETCH(bool, isNewWhole);
    QFETCH(QString, build);
    bool isKilled = true;
    int change = 0;
    for (; isKilled && change < 100; ++change) {
        const Fixture fixture;
        fixture.expectSwap();
        QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
        makeBundle(fixture.bundle, 43);
        if (!isNewWhole)
            QVERIFY(QFile::remove(fixture.bundle + u"/Contents/Resources/data"_s));
        const pid_t child = ::fork();
        if (child == 0) {
            changesLeft = change;
            fixture.recovery.recover(fixture.bundle);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        isKilled = WIFSIGNALED(status);
        QVERIFY(isKilled || WEXITSTATUS(status) == 0);
        QCOMPARE(fixture.start(), fixture.bundle);
        QCOMPARE(extentOf(fixture.bundle), build == u"42"_s ? fixture.oldExtent : fixture.newExtent);
        QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
        QVERIFY(!fixture.hasRecord());
    }
    QVERIFY2(!isKilled && change > 10, qPrintable(QString::number(change)));
}

void tst_UpdateRecovery::moveThatWasBrokenOff_data()
{
    // Between file systems a move copies file after file. Where it fails, the script moves the backup into what there
    // is; where it is killed, it does not.
    const auto row = columns<QStringList, bool, QString>("missing", "isMisplaced", "running");
    const QStringList data{u"Contents/Resources"_s};
    const QStringList program{u"Contents/MacOS"_s};
    row("program there, data not", data, false, u""_s);
    row("data there, program not", program, false, u".backup"_s);
    row("nothing there", {u"Contents"_s}, false, u".backup"_s);
    row("backup in it, program there", data, true, u""_s);
    row("backup in it, program not there", program, true, u"/Vaelix.app.backup"_s);
    row("backup in it, nothing else there", {u"Contents"_s}, true, u"/Vaelix.app.backup"_s);
}

void tst_UpdateRecovery::moveThatWasBrokenOff()
{
    QFETCH(QStringList, missing);
    QFETCH(bool, isMisplaced);
    QFETCH(QString, running);
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    makeBundle(fixture.bundle, 43);
    for (const QString &folder : missing)
        QVERIFY(QDir(fixture.bundle + u'/' + folder).removeRecursively());
    if (isMisplaced)
        QVERIFY(QDir().rename(fixture.backup, fixture.misplaced));
    const auto outcome = fixture.recovery.recover(fixture.bundle + running);
    QCOMPARE(outcome.bundle, fixture.bundle);
    QCOMPARE(outcome.notice, u""_s);
    QCOMPARE(buildOf(fixture.bundle), u"42"_s);
    QVERIFY(!QFileInfo::exists(fixture.misplaced));
    QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
    QVERIFY(!fixture.hasRecord());
    QCOMPARE(fixture.start(), fixture.bundle);
}

void tst_UpdateRecovery::bundleThatWasPutThereSince_data()
{
    const auto row = columns<int>("build");
    row("newer", 44);
    row("older", 7); // and smaller
}

void tst_UpdateRecovery::bundleThatWasPutThereSince()
{
    QFETCH(int, build);
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    makeBundle(fixture.bundle, build);
    // The old one knows nothing better than to go on as itself.
    QCOMPARE(fixture.recovery.recover(fixture.backup).bundle, std::nullopt);
    QVERIFY(fixture.hasRecord());
    // Once the user's own is started, the update is over.
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QCOMPARE(buildOf(fixture.bundle), QString::number(build));
    QCOMPARE(buildOf(fixture.backup), u"42"_s);
    QCOMPARE(fixture.left(), (QStringList{u"Vaelix.app"_s, u"Vaelix.app.backup"_s}));
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::noBundleIsWhole()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    QVERIFY(QFile::remove(fixture.backup + u"/Contents/Resources/data"_s));
    const auto outcome = fixture.recovery.recover(fixture.backup);
    QCOMPARE(outcome.bundle, std::nullopt);
    QCOMPARE(outcome.notice, u"更新中断，旧版本不完整，请重新安装 Vaelix"_s);
    QVERIFY(QFileInfo::exists(fixture.newBundle));
    QVERIFY(QFileInfo::exists(fixture.backup));
    QVERIFY(fixture.hasRecord());
}

void tst_UpdateRecovery::preparationThatWasBrokenOff()
{
    const Fixture fixture;
    const auto former = PrivateFolder::make(fixture.scratch.path(u"Vaelix_update_0"_s));
    QVERIFY(former && fixture.recovery.expectUpdate(*former));
    QVERIFY(fixture.recovery.expectUpdate(fixture.temporaryFolder));
    QVERIFY(!QFileInfo::exists(former->path));
    QVERIFY(QFileInfo::exists(fixture.newBundle));
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QCOMPARE(buildOf(fixture.bundle), u"42"_s);
    QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::temporaryFolderThatIsAnothers()
{
    const Fixture fixture;
    fixture.expectSwap();
    fixture.scratch.write(u"precious/file"_s, "x");
    QVERIFY(QDir().rename(fixture.temporaryFolder.path, fixture.scratch.path(u"former"_s)));
    QVERIFY(QFile::link(fixture.scratch.path(u"precious"_s), fixture.temporaryFolder.path));
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QCOMPARE(fixture.scratch.read(u"precious/file"_s), "x");
    QVERIFY(QFileInfo(fixture.temporaryFolder.path).isSymLink());
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::oldBundleIsGivenUpForOneOnTheDisk()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    QVERIFY(QDir().rename(fixture.newBundle, fixture.bundle));
    QStringList backups;
    onFlush = [&] { backups.append(buildOf(fixture.backup)); };
    isDiskBroken = true;
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QCOMPARE(buildOf(fixture.backup), u"42"_s);
    QVERIFY(fixture.hasRecord());
    isDiskBroken = false;
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QCOMPARE(backups, (QStringList{u"42"_s, u"42"_s}));
    QCOMPARE(fixture.left(), QStringList(u"Vaelix.app"_s));
    QVERIFY(!fixture.hasRecord());
}

void tst_UpdateRecovery::updateUnderWay()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    {
        const auto lock = fixture.recovery.lock();
        QVERIFY(lock && !fixture.recovery.lock());
        const auto outcome = fixture.recovery.recover(fixture.backup);
        QCOMPARE(outcome.bundle, std::nullopt);
        QCOMPARE(outcome.notice, u"另一个 Vaelix 正在更新，上次更新的结果留待下次启动时检查"_s);
        QVERIFY(QFileInfo::exists(fixture.backup));
    }
    // A script that is about to end is waited for.
    QProcess script;
    {
        const auto lock = fixture.recovery.lock();
        QVERIFY(lock);
        script.setChildProcessModifier([descriptor = lock->descriptor()] { ::fcntl(descriptor, F_SETFD, 0); });
        script.start(u"/bin/sleep"_s, {u"0.3"_s});
        QVERIFY(script.waitForStarted());
    }
    QVERIFY(!fixture.recovery.lock());
    QCOMPARE(fixture.recovery.recover(fixture.backup).bundle, fixture.bundle);
    QVERIFY(script.waitForFinished());
}

void tst_UpdateRecovery::lockOfSomebodyElse()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    // Everybody may lock what everybody may read; the lock that counts nobody else can open.
    const int folder = ::open(qPrintable(fixture.scratch.home.path()), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QCOMPARE(::flock(folder, LOCK_EX | LOCK_NB), 0);
    QCOMPARE(fixture.recovery.recover(fixture.backup).bundle, fixture.bundle);
    ::close(folder);
    QCOMPARE(QFileInfo(fixture.scratch.path(u"Updates/swap.lock"_s)).permissions()
                 & ~(QFile::ReadUser | QFile::WriteUser),
             QFile::ReadOwner | QFile::WriteOwner);
}

void tst_UpdateRecovery::nothingToRecover()
{
    const Fixture fixture;
    makeBundle(fixture.backup, 1); // the user's own
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QVERIFY(QFileInfo::exists(fixture.backup));
    fixture.expectSwap();
    const QString other = fixture.scratch.path(u"Other.app"_s);
    QCOMPARE(fixture.recovery.recover(other).bundle, std::nullopt);
    QVERIFY(fixture.hasRecord());
    fixture.scratch.write(u"Updates/swap.json"_s, "{\"swap\":7}");
    QCOMPARE(fixture.recovery.recover(fixture.bundle).bundle, std::nullopt);
    QVERIFY(QFileInfo::exists(fixture.backup));
    QVERIFY(QFileInfo::exists(fixture.newBundle));
}

QTEST_GUILESS_MAIN(tst_UpdateRecovery)
#include "tst_UpdateRecovery.moc"
