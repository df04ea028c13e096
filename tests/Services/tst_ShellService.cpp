#include "Support/Scratch.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <csignal>

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

/// Whether a process whose arguments contain `mark` is alive.
bool isAlive(const QString &mark)
{
    return QProcess::execute(QStringLiteral("pgrep"), {QStringLiteral("-f"), mark}) == 0;
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
    void programOutlivesTheReaderOfItsLog();
};

void tst_ShellService::collectedRun_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errorOutput");

    QTest::newRow("output is trimmed") << "printf '\\n  hi \\t\\n'" << 0 << QByteArray("hi") << QByteArray();
    QTest::newRow("outputs stay apart") << "echo out; echo err >&2" << 0 << QByteArray("out") << QByteArray("err");
    QTest::newRow("failing is no failure of the run") << "exit 3" << 3 << QByteArray() << QByteArray();
    QTest::newRow("unknown command") << "vaelix-no-such-command 2>/dev/null" << 127 << QByteArray() << QByteArray();
    QTest::newRow("shell interprets the line")
        << "x=$(echo a b | wc -w) && echo ${x// /}" << 0 << QByteArray("2") << QByteArray();
    QTest::newRow("ended by a signal") << "kill -TERM $$" << 128 + SIGTERM << QByteArray() << QByteArray();
    QTest::newRow("not UTF-8") << "printf 'a\\377b'; printf '中文' >&2" << 0 << QByteArray() << QByteArray("中文");
    QTest::newRow("ends within a character") << "printf '中文\\344\\270'" << 0 << QByteArray() << QByteArray();
    QTest::newRow("not UTF-8 early in much output")
        << "printf '\\377'; head -c 3000000 /dev/zero | tr '\\0' o" << 0 << QByteArray() << QByteArray();
    QTest::newRow("pipes closed before the exit")
        << "exec >&- 2>&-; sleep 0.1; exit 7" << 7 << QByteArray() << QByteArray();
    QTest::newRow("more than the pipes hold on both")
        << "head -c 3000000 /dev/zero | tr '\\0' o; head -c 3000000 /dev/zero | tr '\\0' e >&2" << 0
        << QByteArray(3000000, 'o') << QByteArray(3000000, 'e');
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
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<QString>("description");

    const QString zsh = QStringLiteral("/bin/zsh");
    QTest::newRow("no shell") << "/nonexistent/zsh" << "true"
                              << "无法启动 /nonexistent/zsh：找不到该程序，请先安装 zsh";
    QTest::newRow("not executable") << "/etc/passwd" << "true" << "无法启动 /etc/passwd：没有执行权限";
    QTest::newRow("NUL") << zsh << QStringLiteral("echo a") + QChar(0) + QStringLiteral("b")
                         << "无法执行命令：命令行中含有空字符";
    QTest::newRow("leading hyphen") << zsh << "-x" << "无法执行命令：命令行不能以“-”开头";
    QTest::newRow("too long") << zsh << QStringLiteral("exit 6").leftJustified(128 * 1024)
                              << "无法执行命令：命令行过长（超过 128 KB）";
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
    const auto result = QCoro::waitFor(
        scratch.shell.run(QStringLiteral("print -rl - $LANG $HOME ~ $VAELIX_TEST_INHERITED ${ZDOTDIR-unset} $PATH")));
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

void tst_ShellService::usersOwnZshFilesAreRead()
{
    Scratch scratch;
    scratch.write(QStringLiteral(".zshenv"), "export FROM_ZSHENV=1\n");
    scratch.write(QStringLiteral(".zprofile"), "export FROM_ZPROFILE=2\n");
    scratch.write(QStringLiteral("elsewhere/.zprofile"), "export FROM_ELSEWHERE=3\n");
    const QString line =
        QStringLiteral("echo $FROM_ZSHENV $FROM_ZPROFILE $FROM_ELSEWHERE ${VAELIX_USER_ZDOTDIR-unset}");
    QCOMPARE(QCoro::waitFor(scratch.shell.run(line))->output.utf8(), "1 2 unset");

    qputenv("ZDOTDIR", scratch.path(QStringLiteral("elsewhere")).toUtf8());
    const auto result = QCoro::waitFor(scratch.shell.run(line));
    qunsetenv("ZDOTDIR");
    QCOMPARE(result->output.utf8(), "3 unset");
}

void tst_ShellService::collectedRunsNeverOverlap()
{
    Scratch scratch;
    // mkdir fails for the one that comes while another holds the folder.
    const QString line = QStringLiteral("mkdir ~/turn && sleep 0.05 && rmdir ~/turn && echo alone");
    std::vector<QCoro::Task<std::expected<ShellResult, ShellError>>> runs;
    for (int run = 0; run < 6; ++run)
        runs.push_back(scratch.shell.run(line));
    for (auto &run : runs)
        QCOMPARE(QCoro::waitFor(std::move(run))->output.utf8(), "alone");
}

void tst_ShellService::collectedRunWaitsForGrandchildHoldingThePipe()
{
    Scratch scratch;
    const auto result = QCoro::waitFor(scratch.shell.run(QStringLiteral("(sleep 0.3; echo late) & echo early")));
    QCOMPARE(result->exitCode, 0);
    QCOMPARE(result->output.utf8(), "early\nlate");
}

void tst_ShellService::streamedRun_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("as it is, both outputs")
        << "echo 一; echo 二 >&2; sleep 0.05; printf 三" << 0 << QByteArray("一\n二\n三");
    QTest::newRow("exit status") << "echo x; exit 2" << 2 << QByteArray("x\n");
    QTest::newRow("character split between two writes")
        << "printf '\\344\\270'; sleep 0.1; printf '\\255\\n'" << 0 << QByteArray("中\n");
    QTest::newRow("lines that are not UTF-8 are dropped, the others kept")
        << "printf 'before\\nbad \\377\\nafter\\n'" << 0 << QByteArray("before\nafter\n");
    QTest::newRow("unfinished character at the end") << "printf 'end\\344\\270'" << 0 << QByteArray("end");
    QTest::newRow("closed early") << "echo x; exec >&- 2>&-; sleep 0.1; exit 4" << 4 << QByteArray("x\n");
    QTest::newRow("all that was written before the exit")
        << "head -c 300000 /dev/zero | tr '\\0' x; exit 5" << 5 << QByteArray(300000, 'x');
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
    const QString line = QStringLiteral("zmodload zsh/datetime zsh/zselect; for i in {1..40}; do zselect -t 1; "
                                        "print -r - $EPOCHREALTIME; done");
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
        stream(scratch.shell, QStringLiteral("printf '第一行\\n第二行\\n'; for i in {1..20000}; do print $i; done"));
    QVERIFY(streamed.pieces.first().startsWith("第一行\n第二行\n"));
    QCOMPARE(streamed.text().count('\n'), 20002);
    QCOMPARE_LT(streamed.pieces.size(), 2000);
}

void tst_ShellService::streamedRunEndsAtExitDespiteBackgroundChild()
{
    Scratch scratch;
    QElapsedTimer timer;
    timer.start();
    const Streamed streamed = stream(scratch.shell, QStringLiteral("sleep 30 & print $!"));
    QCOMPARE(streamed.exitCode, 0);
    QVERIFY(timer.elapsed() < 20'000);
    const qint64 background = streamed.text().trimmed().toLongLong();
    QCOMPARE(::kill(pid_t(background), SIGKILL), 0);
}

void tst_ShellService::terminatingReachesTheWholeTree_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::newRow("one after the other") << "sleep 4711 && true";
    QTest::newRow("pipe and subshell") << "(sleep 4711 | cat) && true";
    QTest::newRow("background and own process group") << "setopt monitor; sleep 4711 & (sleep 4711 &) ; sleep 4711";
    QTest::newRow("node as npm starts it")
        << "node -e 'require(\"child_process\").execFileSync(\"sleep\", [\"4711\"])'; true";
    QTest::newRow("ignores the request") << "trap '' TERM; sh -c 'trap \"\" TERM; sleep 4711; sleep 4711'; true";
}

void tst_ShellService::terminatingReachesTheWholeTree()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    auto run = scratch.shell.runWithStreaming(commandLine, [](QUtf8StringView) { });
    const auto process = scratch.shell.currentStreamingProcess;
    QVERIFY(process);
    QTRY_VERIFY(isAlive(QStringLiteral("^sleep 4711")));
    process->terminate();
    const auto exitCode = QCoro::waitFor(std::move(run));
    QVERIFY(exitCode.value() != 0);
    QVERIFY(!scratch.shell.currentStreamingProcess);
    QTRY_VERIFY(!isAlive(QStringLiteral("^sleep 4711")));
}

void tst_ShellService::terminatingAFinishedRunSparesItsBackground()
{
    Scratch scratch;
    auto run =
        scratch.shell.runWithStreaming(QStringLiteral("nohup sleep 4712 >/dev/null 2>&1 &"), [](QUtf8StringView) { });
    const auto process = scratch.shell.currentStreamingProcess;
    QCOMPARE(QCoro::waitFor(std::move(run)).value(), 0);
    process->terminate();
    QTest::qWait(100);
    QVERIFY(isAlive(QStringLiteral("^sleep 4712")));
    QProcess::execute(QStringLiteral("pkill"), {QStringLiteral("-f"), QStringLiteral("^sleep 4712")});
}

void tst_ShellService::endOfAnyStreamedRunClearsTheCurrentOne()
{
    Scratch scratch;
    auto first = scratch.shell.runWithStreaming(QStringLiteral("sleep 0.2"), [](QUtf8StringView) { });
    auto second = scratch.shell.runWithStreaming(QStringLiteral("sleep 5"), [](QUtf8StringView) { });
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
    const QString line = QStringLiteral("pkill -f 'vaelix-test-no-such-gateway'; echo \"status $?, still here\"");
    QCOMPARE(QCoro::waitFor(scratch.shell.run(line))->output.utf8(), "status 1, still here");
}

void tst_ShellService::windowStaysAliveWhileProfileSleeps()
{
    Scratch scratch;
    scratch.write(QStringLiteral(".zprofile"), "echo 'Welcome to this machine'\nsleep 1\n");
    int turns = 0;
    QTimer ticks;
    connect(&ticks, &QTimer::timeout, this, [&turns] { ++turns; });
    ticks.start(10ms);
    QCOMPARE(QCoro::waitFor(scratch.shell.run(QStringLiteral("echo done")))->output.utf8(),
             "Welcome to this machine\ndone");
    QCOMPARE_GE(turns, 50);
}

void tst_ShellService::programOutlivesTheReaderOfItsLog()
{
    Scratch scratch;
    scratch.write(QStringLiteral("program.sh"),
                  "for i in 1 2 3 4 5 6; do echo line $i; sleep 0.1; done; echo survived > ~/survived\n");
    {
        auto run = scratch.shell.runWithStreaming(
            QStringLiteral("nohup sh ~/program.sh > ~/log 2>&1 & tail --pid=$! -n +1 -F ~/log 2>/dev/null"),
            [](QUtf8StringView) { });
        QTRY_VERIFY(scratch.read(QStringLiteral("log")).contains("line 2"));
        // As when the window closes: the reading ends go away, the processes are left alone.
        const QString session = QString::number(scratch.shell.currentStreamingProcess->processIdentifier());
        QProcess::execute(
            QStringLiteral("pkill"),
            {QStringLiteral("-KILL"), QStringLiteral("-x"), QStringLiteral("tail"), QStringLiteral("-s"), session});
        QVERIFY(QCoro::waitFor(std::move(run)).value() != 0);
    }
    QTRY_COMPARE(scratch.read(QStringLiteral("survived")), "survived\n");
}

QTEST_GUILESS_MAIN(tst_ShellService)
#include "tst_ShellService.moc"
