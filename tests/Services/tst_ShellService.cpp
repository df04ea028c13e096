#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Everything a streamed run printed, and its pieces.
struct Streamed {
    int exitCode = -1;
    QList<QByteArray> pieces;
    QByteArray text() const { return pieces.join(); }
};

Streamed stream(ShellService &shell, const QString &commandLine)
{
    Streamed streamed;
    const auto exitCode = QCoro::waitFor(shell.runWithStreaming(commandLine, [&streamed](QUtf8StringView piece) {
        streamed.pieces.append(QByteArray(piece.data(), piece.size()));
    }));
    streamed.exitCode = exitCode.value_or(-1);
    return streamed;
}

const QString zshFolder = QStringLiteral(VAELIX_SOURCE_DIR "/resources/zsh");

/// Whether a process whose arguments contain `mark` is alive.
bool isAlive(const QString &mark)
{
    return QProcess::execute(u"pgrep"_s, {u"-f"_s, mark}) == 0;
}

} // namespace

class tst_ShellService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void collectedRun_data();
    void collectedRun();
    void lineThatCannotBeStarted_data();
    void lineThatCannotBeStarted();
    void environmentOfEveryRun();
    void variablesReachTheLineAndNobodyElse_data();
    void variablesReachTheLineAndNobodyElse();
    void usersOwnZshFilesAreRead();
    void collectedRunsNeverOverlap();
    void collectedRunWaitsForGrandchildHoldingThePipe();
    void streamedRun_data();
    void streamedRun();
    void pieceArrivesWithinTenMilliseconds();
    void manySmallWritesComeInFewPieces();
    void streamedRunEndsAtExitDespiteBackgroundChild();
    void terminatingReachesTheWholeTree_data();
    void terminatingReachesTheWholeTree();
    void terminatingAFinishedRunSparesItsBackground();
    void endOfAnyStreamedRunClearsTheCurrentOne();
    void killByPatternSparesItsOwnShell();
    void windowStaysAliveWhileProfileSleeps();
    void profileThatEndsOrReplacesTheShell_data();
    void profileThatEndsOrReplacesTheShell();
    void profileThatLeavesTheShellItsOwn_data();
    void profileThatLeavesTheShellItsOwn();
    void profileThatLeavesAProgramBehind_data();
    void profileThatLeavesAProgramBehind();
    void questionThatDoesNotEnd_data();
    void questionThatDoesNotEnd();
    void lineThatTakesItsTimeIsNoQuestion();
    void cancellingInTheProfileIsNoFailureOfIt();
    void whatIsUselessIsAbandoned();
    void programOutlivesTheReaderOfItsLog();
};

void tst_ShellService::collectedRun_data()
{
    const auto row = columns<QString, int, QByteArray, QByteArray>("commandLine", "exitCode", "output", "errorOutput");

    row("output is trimmed", u"printf '\\n  hi \\t\\n'"_s, 0, "hi", {});
    row("outputs stay apart", u"echo out; echo err >&2"_s, 0, "out", "err");
    row("failing is no failure of the run", u"exit 3"_s, 3, {}, {});
    row("unknown command", u"vaelix-no-such-command 2>/dev/null"_s, 127, {}, {});
    row("shell interprets the line", u"x=$(echo a b | wc -w) && echo ${x// /}"_s, 0, "2", {});
    row("ended by a signal", u"kill -TERM $$"_s, 128 + SIGTERM, {}, {});
    row("stray byte", u"printf 'a\\377b'; printf '中文' >&2"_s, 0, "ab", "中文");
    row("ends within a character", u"printf '中文\\344\\270'"_s, 0, "中文", {});
    row("stray bytes in much output", u"printf '\\377'; head -c 3000000 /dev/zero | tr '\\0' o; printf '\\344\\270x'"_s,
        0, QByteArray(3000000, 'o') + 'x', {});
    row("pipes closed before the exit", u"exec >&- 2>&-; sleep 0.1; exit 7"_s, 7, {}, {});
    row("more than the pipes hold on both",
        u"head -c 3000000 /dev/zero | tr '\\0' o; head -c 3000000 /dev/zero | tr '\\0' e >&2"_s, 0,
        QByteArray(3000000, 'o'), QByteArray(3000000, 'e'));
}

void tst_ShellService::collectedRun()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    const auto result = QCoro::waitFor(scratch.shell.run(commandLine));
    QVERIFY(result);
    QTEST(result->exitCode, "exitCode");
    QTEST(result->output.utf8().toByteArray(), "output");
    QTEST(result->errorOutput.utf8().toByteArray(), "errorOutput");
}

void tst_ShellService::lineThatCannotBeStarted_data()
{
    const auto row = columns<QString, QString, QString>("shell", "commandLine", "description");

    const QString zsh = u"/bin/zsh"_s;
    row("no shell", u"/nonexistent/zsh"_s, u"true"_s, u"无法启动 /nonexistent/zsh：找不到该程序，请先安装 zsh"_s);
    row("not executable", u"/etc/passwd"_s, u"true"_s, u"无法启动 /etc/passwd：没有执行权限"_s);
    row("NUL", zsh, u"echo a"_s + QChar(0) + u"b"_s, u"无法执行命令：命令行中含有空字符"_s);
    row("leading hyphen", zsh, u"-x"_s, u"无法执行命令：命令行不能以“-”开头"_s);
    row("leading plus", zsh, u"+x"_s, u"无法执行命令：命令行不能以“+”开头"_s);
    row("too long", zsh, u"exit 6"_s.leftJustified(128 * 1024), u"无法执行命令：命令行过长（超过 128 KB）"_s);
}

void tst_ShellService::lineThatCannotBeStarted()
{
    QFETCH(QString, shell);
    QFETCH(QString, commandLine);
    Scratch scratch;
    ShellService service(scratch.home.path(), {}, shell);
    const int before = openDescriptors();

    const auto collected = QCoro::waitFor(service.run(commandLine));
    QVERIFY(!collected);
    QTEST(collected.error().description, "description");
    const auto streamed = QCoro::waitFor(service.runWithStreaming(commandLine, [](QUtf8StringView) { }));
    QVERIFY(!streamed);
    QVERIFY(!service.currentStreamingProcess);
    QCOMPARE(openDescriptors(), before);

    // The longest line that fits does run.
    if (commandLine.size() == 128 * 1024) {
        const auto longest = QCoro::waitFor(service.run(commandLine.chopped(1)));
        QVERIFY(longest);
        QCOMPARE(longest->exitCode, 6);
    }
}

void tst_ShellService::environmentOfEveryRun()
{
    qputenv("VAELIX_TEST_INHERITED", "passes through");
    const QByteArray inherited = qgetenv("PATH");
    Scratch scratch;
    const auto result =
        QCoro::waitFor(scratch.shell.run(u"print -rl - $LANG $HOME ~ $VAELIX_TEST_INHERITED ${ZDOTDIR-unset} $PATH"_s));
    const QByteArray home = scratch.home.path().toUtf8();
    const QByteArray path =
        "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin:" + inherited;
    QCOMPARE(result->output.utf8().toByteArray().split('\n'),
             QByteArrayList({"en_US.UTF-8", home, home, "passes through", "unset", path}));

    qunsetenv("PATH");
    QCOMPARE(scratch.shell.buildEnvironment()["PATH"],
             "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin");
    qputenv("PATH", inherited);
}

void tst_ShellService::variablesReachTheLineAndNobodyElse_data()
{
    const auto row = columns<QByteArray>("value");
    row("usual", "sk-a-secret");
    row("empty", "");
    row("a command in quotes", "k'; touch ~/pwned #\"; touch ~/pwned #");
    row("substitutions", "$(touch ~/pwned)`touch ~/pwned`$HOME\\");
    row("lines", "first\n second ");
    row("Chinese", "密钥");
}

void tst_ShellService::variablesReachTheLineAndNobodyElse()
{
    QFETCH(QByteArray, value);
    Scratch scratch;
    scratch.write(u".zprofile"_s, "export SECRET='of the profile'\n");
    const QString line =
        u"print waiting; /bin/sh -c 'while [ ! -e ~/go ]; do sleep 0.02; done; printf %s \"$SECRET\" > "
        u"~/seen; env > ~/environment'; printf '<%s>' \"$SECRET\""_s;
    QByteArray output;
    bool isWaiting = false;
    auto run = scratch.shell.runWithStreaming(line,
                                              [&](QUtf8StringView piece) {
                                                  output.append(piece.data(), piece.size());
                                                  isWaiting = true;
                                              },
                                              {{"SECRET", value}});
    QTRY_VERIFY(isWaiting);
    const qint64 process = scratch.shell.currentStreamingProcess->processIdentifier();
    QTRY_COMPARE(visibleArguments(process).count("while"), 2); // the shell's and its child's
    QVERIFY(value.isEmpty() || !visibleArguments(process).contains(value));
    scratch.write(u"go"_s, {});
    QCOMPARE(*QCoro::waitFor(std::move(run)), 0);
    QCOMPARE(output, "waiting\n<" + value + '>');
    QCOMPARE(scratch.read(u"seen"_s), value);
    QVERIFY(!scratch.read(u"environment"_s).contains("VAELIX_GIVEN"));

    const auto collected = QCoro::waitFor(scratch.shell.run(u"printf '<%s>' \"$SECRET\""_s, {{"SECRET", value}}));
    QCOMPARE(collected->output.utf8().toByteArray(), '<' + value + '>');
    QVERIFY(!QFile::exists(scratch.path(u"pwned"_s)));
    QVERIFY(!QCoro::waitFor(scratch.shell.run(u"true"_s, {{"SECRET", QByteArray("a\0b", 3)}})));
}

void tst_ShellService::usersOwnZshFilesAreRead()
{
    Scratch scratch;
    scratch.write(u".zshenv"_s, "export FROM_ZSHENV=1\n");
    scratch.write(u".zprofile"_s, "export FROM_ZPROFILE=2\n");
    scratch.write(u"elsewhere/.zprofile"_s, "export FROM_ELSEWHERE=3\n");
    const QString line = u"echo $FROM_ZSHENV $FROM_ZPROFILE $FROM_ELSEWHERE ${VAELIX_USER_ZDOTDIR-unset}"_s;
    QCOMPARE(QCoro::waitFor(scratch.shell.run(line))->output.utf8(), "1 2 unset");

    qputenv("ZDOTDIR", scratch.path(u"elsewhere"_s).toUtf8());
    const auto result = QCoro::waitFor(scratch.shell.run(line));
    qunsetenv("ZDOTDIR");
    QCOMPARE(result->output.utf8(), "3 unset");
}

void tst_ShellService::collectedRunsNeverOverlap()
{
    Scratch scratch;
    // mkdir fails for the one that comes while another holds the folder.
    const QString line = u"mkdir ~/turn && sleep 0.05 && rmdir ~/turn && echo alone"_s;
    std::vector<QCoro::Task<std::expected<ShellResult, ShellError>>> runs;
    for (int run = 0; run < 6; ++run)
        runs.push_back(scratch.shell.run(line));
    for (auto &run : runs)
        QCOMPARE(QCoro::waitFor(std::move(run))->output.utf8(), "alone");
}

void tst_ShellService::collectedRunWaitsForGrandchildHoldingThePipe()
{
    Scratch scratch;
    const auto result = QCoro::waitFor(scratch.shell.run(u"(sleep 0.3; echo late) & echo early"_s));
    QCOMPARE(result->exitCode, 0);
    QCOMPARE(result->output.utf8(), "early\nlate");
}

void tst_ShellService::streamedRun_data()
{
    const auto row = columns<QString, int, QByteArray>("commandLine", "exitCode", "text");

    row("as it is, both outputs", u"echo 一; echo 二 >&2; sleep 0.05; printf 三"_s, 0, "一\n二\n三");
    row("exit status", u"echo x; exit 2"_s, 2, "x\n");
    row("character split between two writes", u"printf '\\344\\270'; sleep 0.1; printf '\\255\\n'"_s, 0, "中\n");
    row("bytes that are not UTF-8 are dropped, the others kept",
        u"printf 'before\\nbad \\377\\355\\240\\200一\\nafter\\n'"_s, 0, "before\nbad 一\nafter\n");
    row("stray byte in a line of 3 MB", u"head -c 3000000 /dev/zero | tr '\\0' o; printf '\\377'"_s, 0,
        QByteArray(3000000, 'o'));
    row("unfinished character at the end", u"printf 'end\\344\\270'"_s, 0, "end");
    row("closed early", u"echo x; exec >&- 2>&-; sleep 0.1; exit 4"_s, 4, "x\n");
    row("all that was written before the exit", u"head -c 300000 /dev/zero | tr '\\0' x; exit 5"_s, 5,
        QByteArray(300000, 'x'));
}

void tst_ShellService::streamedRun()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    const Streamed streamed = stream(scratch.shell, commandLine);
    QTEST(streamed.exitCode, "exitCode");
    QTEST(streamed.text(), "text");
    QVERIFY(!scratch.shell.currentStreamingProcess);
}

void tst_ShellService::pieceArrivesWithinTenMilliseconds()
{
    Scratch scratch;
    QList<qint64> delays;
    // Many small writes first, so that the reader is in its slow rhythm; then time stamps.
    const QString line = u"zmodload zsh/datetime zsh/zselect; for i in {1..40}; do zselect -t 1; "
                         "print -r - $EPOCHREALTIME; done"_s;
    const auto exitCode = QCoro::waitFor(scratch.shell.runWithStreaming(line, [&delays](QUtf8StringView piece) {
        const double now = double(QDateTime::currentMSecsSinceEpoch());
        const QByteArray first = QByteArray(piece.data(), piece.size()).split('\n').first();
        delays.append(qRound64(now - first.toDouble() * 1000));
    }));
    QCOMPARE(exitCode.value(), 0);
    QCOMPARE_GE(delays.size(), 30);
    std::ranges::sort(delays);
    QCOMPARE_LE(delays[delays.size() / 2], 10);
}

void tst_ShellService::manySmallWritesComeInFewPieces()
{
    Scratch scratch;
    const Streamed streamed =
        stream(scratch.shell, u"printf '第一行\\n第二行\\n'; for i in {1..20000}; do print $i; done"_s);
    QVERIFY(streamed.pieces.first().startsWith("第一行\n第二行\n"));
    QCOMPARE(streamed.text().count('\n'), 20002);
    QCOMPARE_LT(streamed.pieces.size(), 2000);
}

void tst_ShellService::streamedRunEndsAtExitDespiteBackgroundChild()
{
    Scratch scratch;
    QElapsedTimer timer;
    timer.start();
    const Streamed streamed = stream(scratch.shell, u"sleep 30 & print $!"_s);
    QCOMPARE(streamed.exitCode, 0);
    QVERIFY(timer.elapsed() < 20'000);
    const qint64 background = streamed.text().trimmed().toLongLong();
    QCOMPARE(::kill(pid_t(background), SIGKILL), 0);
}

void tst_ShellService::terminatingReachesTheWholeTree_data()
{
    const auto row = columns<QString>("commandLine");
    row("one after the other", u"sleep 4711 && true"_s);
    row("pipe and subshell", u"(sleep 4711 | cat) && true"_s);
    row("background and own process group", u"setopt monitor; sleep 4711 & (sleep 4711 &) ; sleep 4711"_s);
    row("node as npm starts it", u"node -e 'require(\"child_process\").execFileSync(\"sleep\", [\"4711\"])'; true"_s);
    row("ignores the request", u"trap '' TERM; sh -c 'trap \"\" TERM; sleep 4711; sleep 4711'; true"_s);
}

void tst_ShellService::terminatingReachesTheWholeTree()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    auto run = scratch.shell.runWithStreaming(commandLine, [](QUtf8StringView) { });
    const auto process = scratch.shell.currentStreamingProcess;
    QVERIFY(process);
    QTRY_VERIFY(isAlive(u"^sleep 4711"_s));
    process->terminate();
    const auto exitCode = QCoro::waitFor(std::move(run));
    QVERIFY(exitCode.value() != 0);
    QVERIFY(!scratch.shell.currentStreamingProcess);
    QTRY_VERIFY(!isAlive(u"^sleep 4711"_s));
}

void tst_ShellService::terminatingAFinishedRunSparesItsBackground()
{
    Scratch scratch;
    auto run = scratch.shell.runWithStreaming(u"nohup sleep 4712 >/dev/null 2>&1 &"_s, [](QUtf8StringView) { });
    const auto process = scratch.shell.currentStreamingProcess;
    QCOMPARE(QCoro::waitFor(std::move(run)).value(), 0);
    process->terminate();
    QTest::qWait(100);
    QVERIFY(isAlive(u"^sleep 4712"_s));
    QProcess::execute(u"pkill"_s, {u"-f"_s, u"^sleep 4712"_s});
}

void tst_ShellService::endOfAnyStreamedRunClearsTheCurrentOne()
{
    Scratch scratch;
    auto first = scratch.shell.runWithStreaming(u"sleep 0.2"_s, [](QUtf8StringView) { });
    auto second = scratch.shell.runWithStreaming(u"sleep 5"_s, [](QUtf8StringView) { });
    const auto last = scratch.shell.currentStreamingProcess;
    QVERIFY(last);
    QCOMPARE(QCoro::waitFor(std::move(first)).value(), 0);
    QVERIFY(!scratch.shell.currentStreamingProcess);
    last->terminate();
    QCOMPARE(QCoro::waitFor(std::move(second)).value(), 128 + SIGTERM);
}

void tst_ShellService::killByPatternSparesItsOwnShell()
{
    Scratch scratch;
    const QString line = u"pkill -f 'vaelix-test-no-such-gateway'; echo \"status $?, still here\""_s;
    QCOMPARE(QCoro::waitFor(scratch.shell.run(line))->output.utf8(), "status 1, still here");
}

void tst_ShellService::windowStaysAliveWhileProfileSleeps()
{
    Scratch scratch;
    scratch.write(u".zprofile"_s, "echo 'Welcome to this machine'\nsleep 1\n");
    int turns = 0;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&turns] { ++turns; });
    ticks.start(10ms);
    QCOMPARE(QCoro::waitFor(scratch.shell.run(u"echo done"_s))->output.utf8(), "done");
    QCOMPARE_GE(turns, 20);
}

void tst_ShellService::profileThatEndsOrReplacesTheShell_data()
{
    const auto row = columns<QString, QByteArray>("file", "content");
    row("exit", u".zprofile"_s, "exit 0\n");
    row("exit in the last file", u".zlogin"_s, "exit 3\n");
    row("exit in the first file", u".zshenv"_s, "exit\n");
    row("exit after much output", u".zprofile"_s, "head -c 300000 /dev/zero; exit\n");
    row("exec", u".zprofile"_s, "exec sleep 4714\n");
    row("another shell", u".zprofile"_s, "exec sh -c 'sleep 4714; true'\n");
    row("killed", u".zprofile"_s, "kill -KILL $$\n");
}

void tst_ShellService::profileThatEndsOrReplacesTheShell()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    Scratch scratch;
    scratch.write(file, content);
    const QString line = u"touch ~/was-run"_s;
    const auto nobody = [](QUtf8StringView) { };
    const auto collected = QCoro::waitFor(scratch.shell.run(line));
    const auto asked = QCoro::waitFor(scratch.shell.ask(line));
    const auto streamed = QCoro::waitFor(scratch.shell.runWithStreaming(line, nobody));
    QVERIFY(!collected && !asked && !streamed);
    for (const ShellError &error : {collected.error(), asked.error(), streamed.error()}) {
        QCOMPARE(error.kind, ShellError::Kind::ProfileEnded);
        QVERIFY(error.description.contains(u"登录配置"_s));
    }
    QVERIFY(!QFile::exists(scratch.path(u"was-run"_s)));
    QTRY_VERIFY(!isAlive(u"^sleep 4714"_s));
}

void tst_ShellService::profileThatLeavesTheShellItsOwn_data()
{
    const auto row = columns<QString, QByteArray>("file", "content");
    row("prints", u".zprofile"_s, "echo 你好; echo warning >&2\n");
    row("prints in the last file", u".zlogin"_s, "echo 你好\n");
    row("sends the output elsewhere", u".zprofile"_s, "exec >/dev/full 2>&1\n");
    row("returns", u".zprofile"_s, "return 3\n");
    row("has an error", u".zprofile"_s, "if ((\n");
    row("strict", u".zprofile"_s, "set -eu; setopt noclobber ksharrays\n");
    row("reads no more files", u".zprofile"_s, "unsetopt rcs\n");
    row("another kind of shell", u".zshenv"_s, "emulate sh\n");
    row("other meanings", u".zprofile"_s, "alias print=false exec=false; source() { false }\n");
    row("uses the descriptor", u".zprofile"_s, "exec 3>/dev/null; echo x >&3\n");
    row("moves its files", u".zshenv"_s, "ZDOTDIR=~/.config\n");
}

void tst_ShellService::profileThatLeavesTheShellItsOwn()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    Scratch scratch;
    scratch.write(file, content);
    const QString line = u"echo line; echo ${(k)parameters[(I)vaelix*]}${(k)functions[(I)vaelix*]} >&2; exit 7"_s;
    for (const auto &result : {QCoro::waitFor(scratch.shell.run(line)), QCoro::waitFor(scratch.shell.ask(line))}) {
        QVERIFY(result);
        QCOMPARE(result->exitCode, 7);
        QCOMPARE(result->output.utf8(), "line");
        QCOMPARE(result->errorOutput.utf8(), "");
    }
    QCOMPARE(stream(scratch.shell, line).exitCode, 7);
}

void tst_ShellService::profileThatLeavesAProgramBehind_data()
{
    const auto row = columns<QByteArray>("profile");
    row("program", "sleep 4715 &\n");
    row("loop", "(while :; do sleep 4715; done) &\n");
    row("deaf to being asked", "(trap '' TERM HUP; sleep 4715; sleep 4715) &\n");
}

void tst_ShellService::profileThatLeavesAProgramBehind()
{
    QFETCH(QByteArray, profile);
    Scratch scratch;
    scratch.write(u".zprofile"_s, profile);
    const int before = openDescriptors();
    const auto asked = QCoro::waitFor(scratch.shell.ask(u"head -c 300000 /dev/zero | tr '\\0' x; exit 4"_s));
    QVERIFY(asked);
    QCOMPARE(asked->exitCode, 4);
    QCOMPARE(asked->output.utf8().size(), 300000);
    QTRY_VERIFY(!isAlive(u"^sleep 4715"_s));
    QCOMPARE(zombies(), 0);
    QTRY_COMPARE(openDescriptors(), before);
}

void tst_ShellService::questionThatDoesNotEnd_data()
{
    const auto row = columns<QByteArray, QString, int, QString>("profile", "question", "kind", "description");
    const auto tooSlow = int(ShellError::Kind::TooSlow);
    row("line", {}, u"sleep 4716"_s, tooSlow, u"命令 1 秒内没有结束，已中止：sleep 4716"_s);
    row("left the session", {}, u"setsid sh -c 'sleep 2; true' & sleep 4716"_s, tooSlow,
        u"命令 1 秒内没有结束，已中止：setsid sh -c 'sleep 2; true' & sleep 4716"_s);
    row("profile", "while :; do sleep 4716; done\n", u"true"_s, int(ShellError::Kind::ProfileTooSlow),
        u"登录配置（~/.zprofile 等）1 秒内没有执行完，命令没有执行。请检查其中是否有一直不结束的命令"_s);
}

void tst_ShellService::questionThatDoesNotEnd()
{
    QFETCH(QByteArray, profile);
    QFETCH(QString, question);
    Scratch scratch;
    scratch.write(u".zprofile"_s, profile);
    ShellService impatient(scratch.home.path(), zshFolder, u"/bin/zsh"_s, 1s);
    QElapsedTimer timer;
    timer.start();
    const auto asked = QCoro::waitFor(impatient.ask(question));
    QVERIFY(timer.elapsed() < 20'000);
    QVERIFY(!asked);
    QTEST(int(asked.error().kind), "kind");
    QTEST(asked.error().description, "description");
    QTRY_VERIFY(!isAlive(u"^sleep 4716"_s));
    // The next one does not wait for it.
    QFile::remove(scratch.path(u".zprofile"_s));
    QVERIFY(QCoro::waitFor(impatient.ask(u"true"_s)));
}

void tst_ShellService::lineThatTakesItsTimeIsNoQuestion()
{
    Scratch scratch;
    ShellService impatient(scratch.home.path(), zshFolder, u"/bin/zsh"_s, 1s);
    const QString line = u"sleep 1.5; echo done"_s;
    QCOMPARE(QCoro::waitFor(impatient.run(line))->output.utf8(), "done");
    QCOMPARE(stream(impatient, line).text(), "done\n");

    scratch.write(u".zprofile"_s, "while :; do sleep 4717; done\n");
    const auto streamed = QCoro::waitFor(impatient.runWithStreaming(line, [](QUtf8StringView) { }));
    QVERIFY(!streamed);
    QCOMPARE(streamed.error().kind, ShellError::Kind::ProfileTooSlow);
    QTRY_VERIFY(!isAlive(u"^sleep 4717"_s));
}

void tst_ShellService::cancellingInTheProfileIsNoFailureOfIt()
{
    Scratch scratch;
    scratch.write(u".zprofile"_s, "sleep 4718\n");
    auto run = scratch.shell.runWithStreaming(u"true"_s, [](QUtf8StringView) { });
    QTRY_VERIFY(isAlive(u"^sleep 4718"_s));
    scratch.shell.currentStreamingProcess->terminate();
    const auto exitCode = QCoro::waitFor(std::move(run));
    QVERIFY(exitCode);
    QVERIFY(*exitCode != 0);
}

void tst_ShellService::whatIsUselessIsAbandoned()
{
    Scratch scratch;
    const auto nobody = [](QUtf8StringView) { };
    auto asked = scratch.shell.ask(u"sleep 4719"_s);
    QTRY_VERIFY(isAlive(u"^sleep 4719"_s));
    scratch.shell.abandonUseless();
    QCOMPARE(QCoro::waitFor(std::move(asked))->exitCode, 128 + SIGKILL);
    QTRY_VERIFY(!isAlive(u"^sleep 4719"_s));

    // An operation goes on without us, a profile before it does not.
    auto operation = scratch.shell.runWithStreaming(u"sleep 4720"_s, nobody);
    QTRY_VERIFY(isAlive(u"^sleep 4720"_s));
    QTRY_VERIFY(scratch.shell.currentStreamingProcess->hasBegun());
    scratch.shell.abandonUseless();
    QVERIFY(isAlive(u"^sleep 4720"_s));
    scratch.shell.currentStreamingProcess->terminate();
    QVERIFY(QCoro::waitFor(std::move(operation)));
    scratch.write(u".zprofile"_s, "sleep 4721\n");
    auto begun = scratch.shell.runWithStreaming(u"true"_s, nobody);
    QTRY_VERIFY(isAlive(u"^sleep 4721"_s));
    scratch.shell.abandonUseless();
    QVERIFY(!QCoro::waitFor(std::move(begun)));
    QTRY_VERIFY(!isAlive(u"^sleep 4721"_s));
}

void tst_ShellService::programOutlivesTheReaderOfItsLog()
{
    Scratch scratch;
    scratch.write(u"program.sh"_s,
                  "for i in 1 2 3 4 5 6; do echo line $i; sleep 0.1; done; echo survived > ~/survived\n");
    {
        auto run = scratch.shell.runWithStreaming(
            u"nohup sh ~/program.sh > ~/log 2>&1 & tail --pid=$! -n +1 -F ~/log 2>/dev/null"_s,
            [](QUtf8StringView) { });
        QTRY_VERIFY(scratch.read(u"log"_s).contains("line 2"));
        // As when the window closes: the reading ends go away, the processes are left alone.
        const QString session = QString::number(scratch.shell.currentStreamingProcess->processIdentifier());
        QProcess::execute(u"pkill"_s, {u"-KILL"_s, u"-x"_s, u"tail"_s, u"-s"_s, session});
        QVERIFY(QCoro::waitFor(std::move(run)).value() != 0);
    }
    QTRY_COMPARE(scratch.read(u"survived"_s), "survived\n");
}

QTEST_GUILESS_MAIN(tst_ShellService)
#include "tst_ShellService.moc"
