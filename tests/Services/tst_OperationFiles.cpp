// What an operation leaves on the disk: its lock and its log.

#include "Services/OperationLock.h"
#include "Services/OperationLog.h"
#include "Support/Scratch.h"

#include <QProcess>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class tst_OperationFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lockIsOneProgramsAndEndsWithItsHolder();
    void lockOfAnotherProcessNamesIt();
    void lockThatCannotBeMade();
    void logKeepsWhatIsPrinted();
    void logStopsAtItsLimit();
    void tenLogsOfAKindAreKept();
    void logThatCannotBeWritten();
};

void tst_OperationFiles::lockIsOneProgramsAndEndsWithItsHolder()
{
    const Scratch scratch;
    const QString folder = scratch.path(u"locks"_s);
    {
        const auto held = OperationLock::take(folder, u"../a/b"_s, u"A"_s, u"安装"_s);
        QVERIFY(held);
        const auto second = OperationLock::take(folder, u"../a/b"_s, u"A"_s, u"卸载"_s);
        QVERIFY(!second);
        QVERIFY(second.error().isOurOwn);
        QCOMPARE(second.error().description, u"A 正在安装，请等它结束"_s);
        QVERIFY(OperationLock::take(folder, u"b"_s, u"B"_s, u"卸载"_s));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }
    QVERIFY(OperationLock::take(folder, u"../a/b"_s, u"A"_s, u"卸载"_s));
}

void tst_OperationFiles::lockOfAnotherProcessNamesIt()
{
    const Scratch scratch;
    scratch.write(u"a.lock"_s, "1234\n升级\n");
    QProcess other;
    other.start(u"flock"_s, {scratch.path(u"a.lock"_s), u"-c"_s, u"echo held; cat"_s});
    QVERIFY(other.waitForReadyRead());
    const auto refused = OperationLock::take(scratch.home.path(), u"a"_s, u"OpenClaw"_s, u"安装"_s);
    QVERIFY(!refused);
    QCOMPARE(refused.error().description, u"OpenClaw 正在由另一个 Vaelix（进程 1234）升级"_s);
    QVERIFY(!refused.error().isOurOwn);
    other.closeWriteChannel();
    QVERIFY(other.waitForFinished());
    QVERIFY(OperationLock::take(scratch.home.path(), u"a"_s, u"OpenClaw"_s, u"安装"_s));
}

void tst_OperationFiles::lockThatCannotBeMade()
{
    const Scratch scratch;
    scratch.write(u"file"_s, {});
    const auto refused = OperationLock::take(scratch.path(u"file/locks"_s), u"a"_s, u"A"_s, u"安装"_s);
    QVERIFY(!refused);
    QVERIFY(refused.error().description.startsWith(u"无法锁定 A："_s));
}

void tst_OperationFiles::logKeepsWhatIsPrinted()
{
    const Scratch scratch;
    OperationLog log(scratch.path(u"logs"_s), u"../a"_s, u"install"_s);
    log.append("一\n");
    log.append("two\n");
    QFile file(log.path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "一\ntwo\n");
    QVERIFY(log.path().startsWith(scratch.path(u"logs/%2E%2E%2Fa/install-"_s)));
    struct stat state{};
    QCOMPARE(::stat(qPrintable(log.path()), &state), 0);
    QCOMPARE(state.st_mode & 07777, 0600U);
    QCOMPARE(::stat(qPrintable(QFileInfo(log.path()).path()), &state), 0);
    QCOMPARE(state.st_mode & 07777, 0700U);
}

void tst_OperationFiles::logStopsAtItsLimit()
{
    const Scratch scratch;
    OperationLog log(scratch.path(u"logs"_s), u"a"_s, u"install"_s, 10);
    for (int piece = 0; piece < 5; ++piece)
        log.append("123456\n");
    QFile file(log.path());
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "123456\n123456\n\n…… 日志已达上限，其后的内容不再记录\n");
}

void tst_OperationFiles::tenLogsOfAKindAreKept()
{
    const Scratch scratch;
    for (int year = 2000; year < 2012; ++year)
        scratch.write(u"logs/a/install-%1.log"_s.arg(year), {});
    scratch.write(u"logs/a/start-1999.log"_s, {});
    const OperationLog log(scratch.path(u"logs"_s), u"a"_s, u"install"_s);
    const QStringList kept = QDir(scratch.path(u"logs/a"_s)).entryList({u"install-*"_s}, QDir::Files, QDir::Name);
    QCOMPARE(kept.size(), 10);
    QCOMPARE(kept.first(), u"install-2003.log"_s);
    QCOMPARE(kept.last(), QFileInfo(log.path()).fileName());
    QVERIFY(QFile::exists(scratch.path(u"logs/a/start-1999.log"_s)));
}

void tst_OperationFiles::logThatCannotBeWritten()
{
    const Scratch scratch;
    scratch.write(u"logs"_s, {});
    OperationLog log(scratch.path(u"logs"_s), u"a"_s, u"install"_s);
    log.append("nowhere");
    QVERIFY(log.path().isEmpty());
}

QTEST_GUILESS_MAIN(tst_OperationFiles)
#include "tst_OperationFiles.moc"
