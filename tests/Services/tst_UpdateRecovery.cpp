// What is left of a swap of bundles that was broken off, and what the next start makes of it.

#include "Platform/FolderLock.h"
#include "Services/UpdateRecovery.h"
#include "Services/UpdateScript.h"
#include "Support/Bundles.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace {

/// Build 42 at its path, build 43 in a temporary folder.
struct Fixture {
    Fixture()
    {
        makeBundle(bundle, 42);
        makeBundle(newBundle, 43);
        scratch.writeProgram(u"bin/open"_s, "#!/bin/sh\n");
    }

    void expectSwap() const { QVERIFY(recovery.expectSwap(bundle, newBundle)); }
    /// Runs the script that swaps them, up to a line, where it is killed. False when it got to its end, past a line
    /// that it had no need of.
    bool swapUpTo(qsizetype line) const
    {
        QByteArrayList script = updateScript(endedProcess(), newBundle, bundle, temporaryFolder).split('\n');
        script.insert(line, "kill -9 $$");
        scratch.write(u"Vaelix_update_1/update.sh"_s, script.join('\n'));
        QProcess bash;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, scratch.path(u"bin:"_s) + environment.value(u"PATH"_s));
        bash.setProcessEnvironment(environment);
        bash.start(u"/bin/bash"_s, {temporaryFolder + u"/update.sh"_s});
        return bash.waitForFinished() && bash.exitStatus() == QProcess::CrashExit;
    }
    /// The program that stands at either path, as its user would start it; recovers and tells what is to run.
    QString start() const
    {
        const QString running = Bundle::at(bundle).executable() ? bundle : backup;
        return recovery.recover(running).value_or(running);
    }

    Scratch scratch;
    const QString bundle = scratch.path(u"Vaelix.app"_s);
    const QString backup = bundle + u".backup"_s;
    const QString temporaryFolder = scratch.path(u"Vaelix_update_1"_s);
    const QString newBundle = temporaryFolder + u"/Foo.app"_s;
    const QString record = scratch.path(u"Updates/swap.json"_s);
    const UpdateRecovery recovery{record};
};

} // namespace

class tst_UpdateRecovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scriptKilledAtALine_data();
    void scriptKilledAtALine();
    void moveThatWasBrokenOff_data();
    void moveThatWasBrokenOff();
    void neitherBundleIsKnown();
    void swapUnderWay();
    void nothingToRecover();
};

void tst_UpdateRecovery::scriptKilledAtALine_data()
{
    const auto row = columns<qsizetype>("line");
    const qsizetype lines = updateScript(1, u"/n"_s, u"/o"_s, u"/t"_s).count('\n') + 1;
    for (qsizetype line = 1; line <= lines; ++line)
        row(QByteArray::number(line), line);
}

void tst_UpdateRecovery::scriptKilledAtALine()
{
    QFETCH(qsizetype, line);
    const Fixture fixture;
    fixture.expectSwap();
    const bool isKilled = fixture.swapUpTo(line);
    const QString running = fixture.start();
    QCOMPARE(running, fixture.bundle);
    constexpr qsizetype lineOfTheMove = 26;
    const bool isNew = !isKilled || line >= lineOfTheMove;
    QCOMPARE(buildOf(fixture.bundle), isNew ? u"43"_s : u"42"_s);
    QVERIFY(Bundle::at(fixture.bundle).executable());
    QVERIFY(!QFileInfo::exists(fixture.backup));
    QVERIFY(!QFileInfo::exists(fixture.temporaryFolder));
    QVERIFY(!QFileInfo::exists(fixture.record));
}

void tst_UpdateRecovery::moveThatWasBrokenOff_data()
{
    // Between file systems a move copies file after file.
    const auto row = columns<QStringList>("missing");
    row("program there, data not", {u"Contents/Resources"_s});
    row("data there, program not", {u"Contents/MacOS"_s});
    row("nothing there", {u"Contents"_s});
}

void tst_UpdateRecovery::moveThatWasBrokenOff()
{
    QFETCH(QStringList, missing);
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    makeBundle(fixture.bundle, 43);
    for (const QString &folder : missing)
        QVERIFY(QDir(fixture.bundle + u'/' + folder).removeRecursively());
    QCOMPARE(fixture.start(), fixture.bundle);
    QCOMPARE(buildOf(fixture.bundle), u"42"_s);
    QCOMPARE(QDir(fixture.scratch.home.path()).entryList({u"Vaelix*"_s}), QStringList{u"Vaelix.app"_s});
    QCOMPARE(fixture.start(), fixture.bundle);
}

void tst_UpdateRecovery::neitherBundleIsKnown()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    makeBundle(fixture.bundle, 7);
    QVERIFY(QFile::remove(fixture.backup + u"/Contents/Resources/data"_s));
    for (const QString &running : {fixture.bundle, fixture.backup})
        QCOMPARE(fixture.recovery.recover(running), std::nullopt);
    QCOMPARE(buildOf(fixture.bundle), u"7"_s);
    QCOMPARE(buildOf(fixture.backup), u"42"_s);
}

void tst_UpdateRecovery::swapUnderWay()
{
    const Fixture fixture;
    fixture.expectSwap();
    QVERIFY(QDir().rename(fixture.bundle, fixture.backup));
    {
        const auto lock = FolderLock::take(fixture.scratch.home.path());
        QVERIFY(lock);
        QCOMPARE(fixture.recovery.recover(fixture.backup), std::nullopt);
        QVERIFY(QFileInfo::exists(fixture.backup));
    }
    QCOMPARE(fixture.recovery.recover(fixture.backup), fixture.bundle);
}

void tst_UpdateRecovery::nothingToRecover()
{
    const Fixture fixture;
    makeBundle(fixture.backup, 1); // the user's own
    QCOMPARE(fixture.recovery.recover(fixture.bundle), std::nullopt);
    QVERIFY(QFileInfo::exists(fixture.backup));
    fixture.expectSwap();
    const QString other = fixture.scratch.path(u"Other.app"_s);
    QCOMPARE(fixture.recovery.recover(other), std::nullopt);
    QVERIFY(QFileInfo::exists(fixture.record));
    fixture.scratch.write(u"Updates/swap.json"_s, "{\"bundle\":7}");
    QCOMPARE(fixture.recovery.recover(fixture.bundle), std::nullopt);
    QVERIFY(QFileInfo::exists(fixture.backup));
}

QTEST_GUILESS_MAIN(tst_UpdateRecovery)
#include "tst_UpdateRecovery.moc"
