// Ending processes by name, with real ones. Where another program of the machine bore such a name it would end as well,
// so the names are of this test alone.

#include "Platform/ProcessNames.h"
#include "Support/Table.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <unistd.h>

using namespace Qt::StringLiterals;

class tst_ProcessNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyOwnProcessesOfExactlyTheNameEnd_data();
    void onlyOwnProcessesOfExactlyTheNameEnd();
};

void tst_ProcessNames::onlyOwnProcessesOfExactlyTheNameEnd_data()
{
    const auto row = columns<QString, bool, bool>("name", "isOwn", "ends");
    row("the name", u"vxtestclaw"_s, true, true);
    row("a name longer than the kernel keeps", u"vxtestclaw-gateway"_s, true, true);
    row("contains it", u"my-vxtestclaw"_s, true, false);
    row("begins with it", u"vxtestclaw-x"_s, true, false);
    row("the same first letters as the longer one", u"vxtestclaw-gateway-x"_s, true, false);
    row("other case", u"VXTESTCLAW"_s, true, false);
    row("another user's", u"vxtestclaw"_s, false, false);
}

void tst_ProcessNames::onlyOwnProcessesOfExactlyTheNameEnd()
{
    QFETCH(QString, name);
    QFETCH(bool, isOwn);
    QFETCH(bool, ends);
    if (!isOwn && ::geteuid() != 0)
        return; // only root can start another user's
    QTemporaryDir folder;
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755)));
    const QString program = folder.filePath(name);
    QVERIFY(QFile::copy(u"/bin/sleep"_s, program));

    QProcess process;
    if (isOwn)
        process.start(program, {u"600"_s});
    else
        process.start(u"setpriv"_s, {u"--reuid=65534"_s, u"--clear-groups"_s, program, u"600"_s});
    const QString comm = u"/proc/%1/comm"_s;
    QTRY_COMPARE_WITH_TIMEOUT(
        [&] {
            QFile file(comm.arg(process.processId()));
            return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
        }(),
        name.toLatin1().first(std::min<qsizetype>(15, name.size())), 10'000);

    endProcesses({u"vxtestclaw"_s, u"vxtestclaw-gateway"_s, u"vxtestllama"_s});
    if (ends) {
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    } else {
        // A signal would have reached it before this one, which it does not survive.
        QVERIFY(!process.waitForFinished(300));
        process.kill();
        QVERIFY(process.waitForFinished());
    }
}

QTEST_GUILESS_MAIN(tst_ProcessNames)
#include "tst_ProcessNames.moc"
