// The script that swaps bundles, run by a real bash on bundles of a scratch folder.

#include "Services/UpdateScript.h"
#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>
#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// Two bundles, and what the script runs beside bash. The commands in ~/bin note what they are run with; those of the
/// system do the work but for `sleep`, which takes no time.
struct Swap {
    explicit Swap(const QString &folder)
        : folder(folder)
        , newBundle(scratch.path(folder + u"/temporary/Vaelix.app"_s))
        , currentBundle(scratch.path(folder + u"/Vaelix.app"_s))
        , temporaryFolder(scratch.path(folder + u"/temporary"_s))
    {
        scratch.write(folder + u"/Vaelix.app/version"_s, "old");
        scratch.write(folder + u"/temporary/Vaelix.app/version"_s, "new");
        for (const char *command : {"mv", "rm", "cp", "sync"})
            replace(command, "PATH=${PATH#*:} exec " + QByteArray(command) + " \"$@\"");
        replace("open", "");
        replace("sleep", "");
    }

    /// What a command does, when it has noted what it is run with.
    void replace(const QByteArray &command, const QByteArray &script) const
    {
        scratch.writeProgram(u"bin/"_s + QString::fromLatin1(command),
                             "#!/bin/bash\necho \"" + command + " $*\" >> \"$NOTES\"\n" + script + '\n');
    }

    /// The exit status. `readFirst` is a file that bash reads before the script.
    int run(qint64 processId, const QByteArray &readFirst = {})
    {
        scratch.write(folder + u"/temporary/update.sh"_s,
                      updateScript(processId, newBundle, currentBundle, temporaryFolder));
        QProcess bash;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, scratch.path(u"bin"_s) + u':' + environment.value(u"PATH"_s));
        environment.insert(u"NOTES"_s, scratch.path(u"notes"_s));
        if (!readFirst.isEmpty()) {
            scratch.write(folder + u"/temporary/moves.sh"_s, readFirst);
            environment.insert(u"BASH_ENV"_s, temporaryFolder + u"/moves.sh"_s);
        }
        bash.setProcessEnvironment(environment);
        bash.start(u"/bin/bash"_s, {temporaryFolder + u"/update.sh"_s});
        if (!bash.waitForFinished())
            return -1;
        said = bash.readAllStandardOutput();
        return bash.exitCode();
    }

    QByteArray installed() const { return scratch.read(folder + u"/Vaelix.app/version"_s); }
    /// The commands that were run, with $FOLDER for the bundle's.
    QStringList commands() const
    {
        return QString::fromUtf8(scratch.read(u"notes"_s))
            .replace(scratch.path(folder), u"$FOLDER"_s)
            .split(u'\n', Qt::SkipEmptyParts);
    }

    Scratch scratch;
    const QString folder; ///< in the scratch home
    const QString newBundle;
    const QString currentBundle;
    const QString temporaryFolder;
    QByteArray said;
};

const QStringList swapping{u"rm -rf $FOLDER/Vaelix.app.backup"_s, u"mv $FOLDER/Vaelix.app $FOLDER/Vaelix.app.backup"_s,
                           u"mv $FOLDER/temporary/Vaelix.app $FOLDER/Vaelix.app"_s};
const QString opening = u"open $FOLDER/Vaelix.app"_s;
const QString clearing = u"rm -rf $FOLDER/temporary"_s;

} // namespace

class tst_UpdateScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void swaps_data();
    void swaps();
    void putsTheOldOneBackWhenTheNewOneIsMissing();
    void putsTheNewOneInAnEmptyPlace();
    void waitsForTheProcess_data();
    void waitsForTheProcess();
    void movesWholeOrNotAtAll_data();
    void movesWholeOrNotAtAll();
    void oldOneIsDeletedOnceTheNewOneIsOnTheDisk();
    void fitPaths_data();
    void fitPaths();
};

void tst_UpdateScript::text()
{
    const QByteArrayList expected{
        "#!/bin/bash",
        "# Vaelix 自动更新脚本",
        "CURRENT_PID=4242",
        "NEW_APP=\"/tmp/新 %4/a.app\"",
        "OLD_APP=\"/opt/Vaelix.app\"",
        "",
        "echo \"等待 Vaelix 退出 (PID: $CURRENT_PID)...\"",
        "",
        "# 等待旧进程退出（最多30秒）",
        "for i in $(seq 1 30); do",
        "    if ! kill -0 $CURRENT_PID 2>/dev/null; then",
        "        break",
        "    fi",
        "    sleep 1",
        "done",
        "",
        "# 备份旧版本",
        "BACKUP=\"${OLD_APP}.backup\"",
        "if [ -d \"$OLD_APP\" ]; then",
        "    rm -rf \"$BACKUP\"",
        "    mv \"$OLD_APP\" \"$BACKUP\"",
        "    echo \"旧版本已备份到: $BACKUP\"",
        "fi",
        "",
        "# 移动新版本到位",
        "mv \"$NEW_APP\" \"$OLD_APP\"",
        "",
        "if [ $? -eq 0 ]; then",
        "    echo \"更新成功，正在启动新版本...\"",
        "    rm -rf \"$BACKUP\"",
        "    open \"$OLD_APP\"",
        "else",
        "    echo \"更新失败，正在恢复旧版本...\"",
        "    mv \"$BACKUP\" \"$OLD_APP\"",
        "    open \"$OLD_APP\"",
        "fi",
        "",
        "# 清理临时目录",
        "rm -rf \"/tmp/新 %4\"",
    };
    const QByteArray script = updateScript(4242, u"/tmp/新 %4/a.app"_s, u"/opt/Vaelix.app"_s, u"/tmp/新 %4"_s);
    QCOMPARE(script.split('\n'), expected);
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
    for (const QByteArray &moves : {QByteArray(), updateScriptMoves()}) {
        Swap swap(folder);
        swap.scratch.write(folder + u"/Vaelix.app.backup/version"_s, "older");
        const qint64 process = endedProcess();
        QCOMPARE(swap.run(process, moves), 0);
        QCOMPARE(swap.installed(), "new");
        QVERIFY(!QFile::exists(swap.currentBundle + u".backup"_s));
        QVERIFY(!QFile::exists(swap.currentBundle + u".incomplete"_s));
        QVERIFY(!QFile::exists(swap.temporaryFolder));
        if (moves.isEmpty())
            QCOMPARE(swap.commands(), swapping + QStringList({swapping[0], opening, clearing}));
        QCOMPARE(
            QString::fromUtf8(swap.said),
            u"等待 Vaelix 退出 (PID: %1)...\n旧版本已备份到: %2.backup\n更新成功，正在启动新版本...\n"_s.arg(process)
                .arg(swap.currentBundle));
    }
}

void tst_UpdateScript::putsTheOldOneBackWhenTheNewOneIsMissing()
{
    for (const QByteArray &moves : {QByteArray(), updateScriptMoves()}) {
        Swap swap(u"apps"_s);
        QVERIFY(QDir(swap.newBundle).removeRecursively());
        QCOMPARE(swap.run(endedProcess(), moves), 0);
        QCOMPARE(swap.installed(), "old");
        QVERIFY(!QFile::exists(swap.currentBundle + u".backup"_s));
        const QString back = u"mv $FOLDER/Vaelix.app.backup $FOLDER/Vaelix.app"_s;
        if (moves.isEmpty())
            QCOMPARE(swap.commands(), swapping + QStringList({back, opening, clearing}));
        QCOMPARE(swap.commands().last(2), QStringList({opening, clearing}));
        QVERIFY(swap.said.endsWith("更新失败，正在恢复旧版本...\n"));
    }
}

void tst_UpdateScript::putsTheNewOneInAnEmptyPlace()
{
    Swap swap(u"apps"_s);
    QVERIFY(QDir(swap.currentBundle).removeRecursively());
    QCOMPARE(swap.run(endedProcess()), 0);
    QCOMPARE(swap.installed(), "new");
    QCOMPARE(swap.commands(), QStringList({swapping[2], swapping[0], opening, clearing}));
}

void tst_UpdateScript::waitsForTheProcess_data()
{
    const auto row = columns<int, int>("endsAfter", "waits"); // seconds, which take no time here
    row("has ended", 0, 0);
    row("ends after two seconds", 2, 2);
    row("never ends", 1000, 30);
}

void tst_UpdateScript::waitsForTheProcess()
{
    QFETCH(int, endsAfter);
    QFETCH(int, waits);
    Swap swap(u"apps"_s);
    // Not a child of ours, which would stay a zombie when it has ended.
    QProcess starter;
    starter.start(u"/bin/sh"_s, {u"-c"_s, u"sleep 1000 >/dev/null 2>&1 & echo $!"_s});
    QVERIFY(starter.waitForFinished());
    const QByteArray process = starter.readAllStandardOutput().trimmed();
    const QByteArray end = "kill " + process + "; while kill -0 " + process + " 2>/dev/null; do :; done";
    if (endsAfter == 0)
        QCOMPARE(QProcess::execute(u"/bin/bash"_s, {u"-c"_s, QString::fromLatin1(end)}), 0);
    swap.replace("sleep",
                 "[ $(grep -c sleep \"$NOTES\") -ne " + QByteArray::number(endsAfter) + " ] || { " + end + "; }");
    QCOMPARE(swap.run(process.toLongLong()), 0);
    ::kill(pid_t(process.toInt()), SIGKILL);
    QCOMPARE(swap.commands().first(waits), QStringList(waits, u"sleep 1"_s));
    QCOMPARE(swap.commands().sliced(waits, 3), swapping);
    QCOMPARE(swap.installed(), "new");
}

void tst_UpdateScript::movesWholeOrNotAtAll_data()
{
    // A command that fails when it is told to, after its work or in the middle of it.
    const auto row = columns<QByteArray, QByteArray, QByteArray>("command", "script", "installed");
    row("the disk is full", "cp", "mkdir \"$3\"; touch \"$3/half\"; exit 1", "old");
    row("the disk is broken", "sync", "exit 1", "old");
    row("the old one cannot be moved", "mv", "exit 1", "old");
}

void tst_UpdateScript::movesWholeOrNotAtAll()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, script);
    Swap swap(u"apps"_s);
    swap.replace(command, script);
    QCOMPARE(swap.run(endedProcess(), updateScriptMoves()), 0);
    QTEST(swap.installed(), "installed");
    const QStringList left = QDir(QFileInfo(swap.currentBundle).path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(left, QStringList(u"Vaelix.app"_s));
    QCOMPARE(QDir(swap.currentBundle).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList(u"version"_s));
    QVERIFY(swap.commands().contains(opening));
}

void tst_UpdateScript::oldOneIsDeletedOnceTheNewOneIsOnTheDisk()
{
    Swap swap(u"apps"_s);
    QCOMPARE(swap.run(endedProcess(), updateScriptMoves()), 0);
    const QString incomplete = u"$FOLDER/Vaelix.app.incomplete"_s;
    QCOMPARE(swap.commands(),
             QStringList({swapping[0], u"mv -T $FOLDER/Vaelix.app $FOLDER/Vaelix.app.backup"_s,
                          u"rm -rf "_s + incomplete, u"cp -aT $FOLDER/temporary/Vaelix.app "_s + incomplete,
                          u"sync -f "_s + incomplete, u"mv -T %1 $FOLDER/Vaelix.app"_s.arg(incomplete),
                          u"sync -f $FOLDER/Vaelix.app"_s, swapping[0], opening, clearing}));
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
