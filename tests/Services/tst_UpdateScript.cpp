// The script that swaps bundles, run by a real bash on bundles of a scratch folder.

#include "Services/UpdateScript.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace {

/// Two bundles and an `open` that notes what it opens.
struct Swap {
    explicit Swap(const QString &folder)
        : folder(folder)
        , newBundle(scratch.path(folder + u"/temporary/Vaelix.app"_s))
        , currentBundle(scratch.path(folder + u"/Vaelix.app"_s))
        , temporaryFolder(scratch.path(folder + u"/temporary"_s))
    {
        scratch.write(folder + u"/Vaelix.app/version"_s, "old");
        scratch.write(folder + u"/temporary/Vaelix.app/version"_s, "new");
        scratch.writeProgram(u"bin/open"_s, "#!/bin/sh\nprintf %s \"$1\" > \"$OPENED\"\n");
    }

    /// The exit status.
    int run(qint64 processId) const
    {
        scratch.write(folder + u"/temporary/update.sh"_s,
                      updateScript(processId, newBundle, currentBundle, temporaryFolder));
        QProcess bash;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, scratch.path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
        environment.insert(u"OPENED"_s, scratch.path(u"opened"_s));
        bash.setProcessEnvironment(environment);
        bash.start(u"/bin/bash"_s, {temporaryFolder + u"/update.sh"_s});
        return bash.waitForFinished(60000) ? bash.exitCode() : -1;
    }

    QByteArray installed() const { return scratch.read(folder + u"/Vaelix.app/version"_s); }

    Scratch scratch;
    const QString folder; ///< in the scratch home
    const QString newBundle;
    const QString currentBundle;
    const QString temporaryFolder;
};

} // namespace

class tst_UpdateScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void swaps_data();
    void swaps();
    void putsTheOldOneBackWhenTheNewOneIsMissing();
    void waitsForTheProcess();
    void fitPaths_data();
    void fitPaths();
};

void tst_UpdateScript::text()
{
    const QByteArray script = updateScript(4242, u"/tmp/新 %4/a.app"_s, u"/opt/Vaelix.app"_s, u"/tmp/新 %4"_s);
    const QByteArrayList lines = script.split('\n');
    QCOMPARE(lines.size(), 39);
    QCOMPARE(lines[1], "# Vaelix 自动更新脚本");
    QCOMPARE(lines[2], "CURRENT_PID=4242");
    QCOMPARE(lines[3], "NEW_APP=\"/tmp/新 %4/a.app\"");
    QCOMPARE(lines[4], "OLD_APP=\"/opt/Vaelix.app\"");
    QCOMPARE(lines[9], "for i in $(seq 1 30); do");
    QCOMPARE(lines[17], "BACKUP=\"${OLD_APP}.backup\"");
    QCOMPARE(lines[38], "rm -rf \"/tmp/新 %4\"");
    QVERIFY(!script.contains('\t') && !script.contains('\r'));
}

void tst_UpdateScript::swaps_data()
{
    const auto row = columns<QString>("folder");
    row("plain", u"apps"_s);
    row("spaces and Chinese", u"我的 应用"_s);
    row("single quote, semicolon, star", u"it's; a * ?"_s);
    row("leading dash", u"-rf"_s);
}

void tst_UpdateScript::swaps()
{
    QFETCH(QString, folder);
    const Swap swap(folder);
    swap.scratch.write(folder + u"/Vaelix.app.backup/version"_s, "older");
    QCOMPARE(swap.run(endedProcess()), 0);
    QCOMPARE(swap.installed(), "new");
    QVERIFY(!QFile::exists(swap.currentBundle + u".backup"_s));
    QVERIFY(!QFile::exists(swap.temporaryFolder));
    QCOMPARE(QString::fromUtf8(swap.scratch.read(u"opened"_s)), swap.currentBundle);
}

void tst_UpdateScript::putsTheOldOneBackWhenTheNewOneIsMissing()
{
    const Swap swap(u"apps"_s);
    QVERIFY(QDir(swap.newBundle).removeRecursively());
    QCOMPARE(swap.run(endedProcess()), 0);
    QCOMPARE(swap.installed(), "old");
    QVERIFY(!QFile::exists(swap.currentBundle + u".backup"_s));
    QCOMPARE(QString::fromUtf8(swap.scratch.read(u"opened"_s)), swap.currentBundle);
}

void tst_UpdateScript::waitsForTheProcess()
{
    const Swap swap(u"apps"_s);
    // Notes which version stood at the path when it ended; not a child of ours, which would stay a zombie meanwhile.
    QProcess process;
    process.setProgram(u"/bin/sh"_s);
    process.setArguments(
        {u"-c"_s, u"sleep 0.3; cat '%1/version' > '%2'"_s.arg(swap.currentBundle, swap.scratch.path(u"seen"_s))});
    qint64 processId = 0;
    QVERIFY(process.startDetached(&processId));
    QCOMPARE(swap.run(processId), 0);
    QCOMPARE(swap.scratch.read(u"seen"_s), "old");
    QCOMPARE(swap.installed(), "new");
}

void tst_UpdateScript::fitPaths_data()
{
    const auto row = columns<QString, bool>("path", "isFit");
    row("plain", u"/opt/Vaelix.app"_s, true);
    row("spaces, Chinese, single quote", u"/opt/张 伟/it's"_s, true);
    row("double quote", u"/a\"b"_s, false);
    row("variable", u"/a$HOME"_s, false);
    row("command", u"/a`b`"_s, false);
    row("backslash", u"/a\\b"_s, false);
}

void tst_UpdateScript::fitPaths()
{
    QFETCH(QString, path);
    QTEST(isFitForUpdateScript(path), "isFit");
}

QTEST_GUILESS_MAIN(tst_UpdateScript)
#include "tst_UpdateScript.moc"
