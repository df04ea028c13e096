#include "Support/Scratch.h"
#include "Support/Table.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// An operation's callbacks recorded, and how it ended.
struct Recording {
    QByteArray output;
    QStringList statuses;
    QString error;
    bool failed = false;

    OutputHandler onOutput()
    {
        return [this](QUtf8StringView text) { output.append(text.data(), text.size()); };
    }
    SoftwareInstallService::StatusHandler onStatusChange()
    {
        return [this](SoftwareStatus::Value status) { statuses.append(SoftwareStatus::rawValue(status)); };
    }
    void end(const std::expected<void, InstallError> &outcome)
    {
        failed = !outcome;
        error = outcome ? QString() : outcome.error().description();
    }
};

void unexpectedFailure(const InstallError &error)
{
    QFAIL(qPrintable(error.description()));
}

using Operation = SoftwareInstallService::Outcome (SoftwareInstallService::*)(QString, SoftwareCatalog::Entries,
                                                                              OutputHandler,
                                                                              SoftwareInstallService::StatusHandler);

} // namespace
Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(SoftwareCatalog::Entries)

class tst_SoftwareInstallService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void operation_data();
    void operation();
    void dependency_data();
    void dependency();
    void dependenciesAreAskedInTheirOrder();
    void namesAreOneLine();
    void shellThatCannotBeStartedLeavesTheStatusReported();
    void startReturnsWhileTheProgramRuns();
    void stop_data();
    void stop();
    void detection();
    void questionWithoutAnAnswer();
    void profileThatEndsTheShellIsNoSuccess();
    void processQuestions();
    void ollamaAnswers_data();
    void ollamaAnswers();
    void runningProgramIsFoundByItsExactName();
    void startThatIsNotRun_data();
    void startThatIsNotRun();
};

void tst_SoftwareInstallService::operation_data()
{
    const auto row = columns<Operation, QString, QByteArray, QStringList, QString>("operation", "commandLine", "output",
                                                                                   "statuses", "error");

    const Operation install = &SoftwareInstallService::install;
    const Operation upgrade = &SoftwareInstallService::upgrade;
    const Operation uninstall = &SoftwareInstallService::uninstall;
    const auto statuses = [](const char *first, const char *second) {
        return QStringList{QString::fromLatin1(first), QString::fromLatin1(second)};
    };
    row("install", install, u"echo a"_s, ">>> 正在安装 A...\na\n\n✅ 安装完成\n", statuses("installing", "installed"),
        {});
    row("install fails", install, u"exit 2"_s, ">>> 正在安装 A...\n\n❌ 安装失败 (exit code: 2)\n",
        statuses("installing", "error"), u"安装失败，退出码: 2"_s);
    row("no install", install, u""_s, {}, {}, u"未配置安装命令"_s);
    row("upgrade", upgrade, u"true"_s, ">>> 正在升级 A...\n\n✅ 升级完成\n", statuses("upgrading", "installed"), {});
    row("upgrade fails", upgrade, u"exit 1"_s, ">>> 正在升级 A...\n\n❌ 升级失败 (exit code: 1)\n",
        statuses("upgrading", "error"), u"升级失败，退出码: 1"_s);
    row("no upgrade", upgrade, u""_s, {}, {}, u"未配置升级命令"_s);
    row("uninstall", uninstall, u"true"_s, ">>> 正在卸载 A...\n\n✅ 卸载完成\n",
        statuses("uninstalling", "not_installed"), {});
    row("uninstall fails", uninstall, u"kill $$"_s, ">>> 正在卸载 A...\n\n❌ 卸载失败 (exit code: 143)\n",
        statuses("uninstalling", "error"), u"卸载失败，退出码: 143"_s);
    row("no uninstall", uninstall, u""_s, {}, {}, u"未配置卸载命令"_s);
}

void tst_SoftwareInstallService::operation()
{
    QFETCH(Operation, operation);
    QFETCH(QString, commandLine);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.installCommand = entry.upgradeCommand = entry.uninstallCommand = commandLine;
    Recording recording;
    recording.end(QCoro::waitFor(
        (scratch.installer.*operation)(u"a"_s, {entry}, recording.onOutput(), recording.onStatusChange())));
    QTEST(recording.output, "output");
    QTEST(recording.statuses, "statuses");
    QTEST(recording.error, "error");

    // Software the catalog does not list is the same as one without a command line.
    Recording unlisted;
    unlisted.end(QCoro::waitFor(
        (scratch.installer.*operation)(u"A"_s, {entry}, unlisted.onOutput(), unlisted.onStatusChange())));
    QVERIFY(unlisted.error.startsWith(u"未配置"_s));
}

void tst_SoftwareInstallService::dependency_data()
{
    const auto row = columns<QString, QString>("detectCommand", "error");
    row("installed", u"echo /usr/bin/b"_s, {});
    row("prints nothing", u"true"_s, u"缺少依赖: B，请先安装"_s);
    row("fails", u"echo b; exit 1"_s, u"缺少依赖: B，请先安装"_s);
    row("cannot be detected", u""_s, u"缺少依赖: B，请先安装"_s);
}

void tst_SoftwareInstallService::dependency()
{
    QFETCH(QString, detectCommand);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.installCommand = u"touch ~/installed"_s;
    entry.dependencies = {u"not in the catalog"_s, u"b"_s, u"c"_s};
    SoftwareCatalogEntry needed = testEntry(u"b"_s);
    needed.detectCommand = detectCommand;
    SoftwareCatalogEntry after = testEntry(u"c"_s);
    after.detectCommand = u"touch ~/asked; echo c"_s;
    Recording recording;
    recording.end(QCoro::waitFor(
        scratch.installer.install(entry.id, {entry, needed, after}, recording.onOutput(), recording.onStatusChange())));
    QTEST(recording.error, "error");
    // What cannot be installed at all says that first.
    entry.installCommand.clear();
    Recording without;
    without.end(QCoro::waitFor(
        scratch.installer.install(entry.id, {entry, needed, after}, without.onOutput(), without.onStatusChange())));
    QCOMPARE(without.error, u"未配置安装命令"_s);
    const bool goesOn = recording.error.isEmpty();
    QCOMPARE(QFile::exists(scratch.path(u"installed"_s)), goesOn);
    QCOMPARE(QFile::exists(scratch.path(u"asked"_s)), goesOn);
    QCOMPARE(recording.statuses.isEmpty() && recording.output.isEmpty(), !goesOn);
}

void tst_SoftwareInstallService::dependenciesAreAskedInTheirOrder()
{
    Scratch scratch;
    SoftwareCatalog::Entries catalog{testEntry(u"a"_s)};
    catalog[0].installCommand = u"echo installing"_s;
    catalog[0].dependencies = {u"d"_s, u"b"_s, u"unlisted"_s, u"c"_s};
    for (const QString &id : {u"b"_s, u"c"_s, u"d"_s}) {
        catalog.append(testEntry(id));
        catalog.last().detectCommand = u"echo %1 >> ~/asked; ls ~/%1"_s.arg(id);
    }
    const auto install = [&] {
        QFile::remove(scratch.path(u"asked"_s));
        Recording recording;
        recording.end(QCoro::waitFor(
            scratch.installer.install(u"a"_s, catalog, recording.onOutput(), recording.onStatusChange())));
        return recording.error;
    };
    QCOMPARE(install(), u"缺少依赖: D，请先安装"_s);
    QCOMPARE(scratch.read(u"asked"_s), "d\n");
    scratch.write(u"d"_s, {});
    QCOMPARE(install(), u"缺少依赖: B，请先安装"_s);
    QCOMPARE(scratch.read(u"asked"_s), "d\nb\n");
    scratch.write(u"b"_s, {});
    scratch.write(u"c"_s, {});
    QCOMPARE(install(), QString());
    QCOMPARE(scratch.read(u"asked"_s), "d\nb\nc\n");
}

void tst_SoftwareInstallService::namesAreOneLine()
{
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.name = u"A\n\u001b[2J\u202Ex"_s;
    entry.installCommand = u"true"_s;
    Recording recording;
    recording.end(
        QCoro::waitFor(scratch.installer.install(u"a"_s, {entry}, recording.onOutput(), recording.onStatusChange())));
    QVERIFY2(recording.output.startsWith(">>> 正在安装 A  [2J x...\n"), recording.output.constData());
}

void tst_SoftwareInstallService::shellThatCannotBeStartedLeavesTheStatusReported()
{
    Scratch scratch;
    ShellService shell(scratch.home.path(), {}, u"/nonexistent/zsh"_s);
    SoftwareInstallService installer(shell, scratch.detection);
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.installCommand = entry.stopCommand = u"true"_s;
    Recording recording;
    recording.end(
        QCoro::waitFor(installer.install(entry.id, {entry}, recording.onOutput(), recording.onStatusChange())));
    QCOMPARE(recording.error, u"无法启动 /nonexistent/zsh：找不到该程序，请先安装 zsh"_s);
    QCOMPARE(recording.statuses, QStringList{u"installing"_s});
    QCOMPARE(recording.output, ">>> 正在安装 A...\n");

    recording.end(QCoro::waitFor(installer.stop(entry.id, {entry}, recording.onOutput())));
    QVERIFY(recording.failed);
}

void tst_SoftwareInstallService::startReturnsWhileTheProgramRuns()
{
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    Recording recording;
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput(), unexpectedFailure));
    QCOMPARE(recording.error, u"未配置启动命令"_s);

    entry.startCommand = u"sleep 0.1; echo later; exit 1"_s;
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput(), unexpectedFailure));
    QVERIFY(!recording.failed);
    QCOMPARE(recording.output, ">>> 正在启动 A...\n");
    QTRY_COMPARE(recording.output, ">>> 正在启动 A...\nlater\n");
}

void tst_SoftwareInstallService::stop_data()
{
    const auto row = columns<QString, QByteArray, QString>("commandLine", "output", "error");
    row("stopped", u"echo not shown"_s, ">>> 正在停止 A...\n✅ 已停止\n", {});
    row("nothing to stop", u"pkill -f vaelix-test-no-such-program"_s, ">>> 正在停止 A...\n⚠️ 停止命令执行完毕: \n", {});
    row("complains", u"echo ' why ' >&2; exit 4"_s, ">>> 正在停止 A...\n⚠️ 停止命令执行完毕: why\n", {});
    row("no command", u""_s, {}, u"未配置停止命令"_s);
}

void tst_SoftwareInstallService::stop()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.stopCommand = commandLine;
    Recording recording;
    recording.end(QCoro::waitFor(scratch.installer.stop(entry.id, {entry}, recording.onOutput())));
    QTEST(recording.output, "output");
    QTEST(recording.error, "error");
}

void tst_SoftwareInstallService::detection()
{
    Scratch scratch;
    SoftwareCatalogEntry found = testEntry(u"found"_s);
    found.detectCommand = u"which zsh"_s;
    SoftwareCatalogEntry silent = testEntry(u"silent"_s);
    silent.detectCommand = u"true"_s;
    SoftwareCatalogEntry failing = testEntry(u"failing"_s);
    failing.detectCommand = u"echo found; false"_s;
    // What a login profile prints is no answer.
    scratch.write(u".zprofile"_s, "echo Welcome\n");
    const auto isInstalled = QCoro::waitFor(scratch.detection.detectAll({found, silent, failing}));
    QCOMPARE(isInstalled.byId, (QHash<QString, bool>{{u"found"_s, true}, {u"silent"_s, false}, {u"failing"_s, false}}));
    QVERIFY(!isInstalled.failure);
    SoftwareCatalogEntry again = testEntry(u"found"_s);
    QCOMPARE(QCoro::waitFor(scratch.detection.detectAll({found, again})).of(u"found"_s), true);
    QCOMPARE(QCoro::waitFor(scratch.detection.detectAll({again, found})).of(u"found"_s), false);
}

void tst_SoftwareInstallService::questionWithoutAnAnswer()
{
    Scratch scratch;
    ShellService impatient(scratch.home.path(), QStringLiteral(VAELIX_SOURCE_DIR "/resources/zsh"), u"/bin/zsh"_s, 1s);
    SoftwareDetectionService detection(impatient);
    SoftwareCatalogEntry slow = testEntry(u"slow"_s);
    slow.detectCommand = u"echo x; sleep 30"_s;
    SoftwareCatalogEntry next = testEntry(u"next"_s);
    next.detectCommand = u"echo x"_s;
    auto answers = QCoro::waitFor(detection.detectAll({slow, next}));
    QCOMPARE(answers.byId, (QHash<QString, bool>{{u"next"_s, true}}));
    QCOMPARE(answers.failure->kind, ShellError::Kind::TooSlow);

    // A dependency that nobody knows of is not called missing.
    SoftwareInstallService installer(impatient, detection);
    SoftwareCatalogEntry dependent = testEntry(u"a"_s);
    dependent.installCommand = u"touch ~/installed"_s;
    dependent.dependencies = {u"slow"_s};
    Recording recording;
    recording.end(
        QCoro::waitFor(installer.install(u"a"_s, {dependent, slow}, recording.onOutput(), recording.onStatusChange())));
    QCOMPARE(recording.error, u"命令 1 秒内没有结束，已中止：echo x; sleep 30"_s);
    QVERIFY(recording.statuses.isEmpty() && !QFile::exists(scratch.path(u"installed"_s)));

    // With a profile that lets no line through there is no use in asking the next.
    scratch.write(u".zprofile"_s, "echo login >> ~/logins; exit\n");
    answers = QCoro::waitFor(detection.detectAll({slow, next}));
    QVERIFY(answers.byId.isEmpty() && answers.failure->isAboutProfile());
    QCOMPARE(scratch.read(u"logins"_s), "login\n");
}

void tst_SoftwareInstallService::profileThatEndsTheShellIsNoSuccess()
{
    Scratch scratch;
    scratch.write(u".zprofile"_s, "exit 0\n");
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.installCommand = u"touch ~/installed"_s;
    Recording recording;
    recording.end(
        QCoro::waitFor(scratch.installer.install(u"a"_s, {entry}, recording.onOutput(), recording.onStatusChange())));
    const QString sentence = u"登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell，命令没有执行"_s;
    QCOMPARE(recording.error, sentence);
    QCOMPARE(QString::fromUtf8(recording.output), u">>> 正在安装 A...\n\n❌ 安装失败: %1\n"_s.arg(sentence));
    QCOMPARE(recording.statuses, (QStringList{u"installing"_s, u"error"_s}));
}

/// The lines that ask what runs, as the programs on the search path see them.
void tst_SoftwareInstallService::processQuestions()
{
    Scratch scratch;
    const QByteArray record = "#!/bin/sh\necho \"${0##*/} $*\" >> ~/asked\necho '{\"version\":\"0.5.7\"}'\n";
    scratch.writeProgram(u"bin/curl"_s, record);
    scratch.writeProgram(u"bin/pgrep"_s, record + "[ \"$2\" = hermes ]\n");
    scratch.write(u".zprofile"_s, "PATH=~/bin:$PATH\n");
    const QStringList ids{u"stable-diffusion"_s, u"unknown"_s, u"crewai"_s, u"ollama"_s, u"openclaw"_s, u"hermes"_s};
    const auto answers = QCoro::waitFor(scratch.monitor.checkAllStatus(ids));
    QCOMPARE(scratch.read(u"asked"_s),
             "curl -s http://localhost:11434/api/version\npgrep -x DiffusionBee\npgrep -x crewai\n"
             "pgrep -x openclaw\npgrep -x hermes\n");
    QCOMPARE(answers.byId,
             (QHash<QString, bool>{{u"stable-diffusion"_s, false},
                                   {u"unknown"_s, false},
                                   {u"crewai"_s, false},
                                   {u"ollama"_s, true},
                                   {u"openclaw"_s, false},
                                   {u"hermes"_s, true}}));
    QVERIFY(QCoro::waitFor(scratch.monitor.checkAllStatus({})).byId.isEmpty());
}

void tst_SoftwareInstallService::ollamaAnswers_data()
{
    const auto row = columns<QByteArray, bool>("curl", "isRunning");
    row("with a version", "echo '{}'\n", true);
    row("with nothing", "true\n", false);
    row("not at all", "echo refused; exit 7\n", false);
}

void tst_SoftwareInstallService::ollamaAnswers()
{
    QFETCH(QByteArray, curl);
    Scratch scratch;
    scratch.write(u".zprofile"_s, "curl() {\n" + curl.chopped(1).replace("exit", "return") + "\n}\n");
    QTEST(QCoro::waitFor(scratch.monitor.isOllamaRunning()).value(), "isRunning");
}

void tst_SoftwareInstallService::runningProgramIsFoundByItsExactName()
{
    Scratch scratch;
    scratch.writeProgram(u"bin/crewai"_s, "#!/bin/sh\nsleep 20\n");
    auto program = scratch.shell.runWithStreaming(u"~/bin/crewai"_s, [](QUtf8StringView) { });
    const auto isRunning = [&] {
        return QCoro::waitFor(scratch.monitor.checkAllStatus({u"crewai"_s})).of(u"crewai"_s);
    };
    QTRY_COMPARE(isRunning(), true);
    scratch.shell.currentStreamingProcess->terminate();
    QVERIFY(QCoro::waitFor(std::move(program)).value() != 0);
    QCOMPARE(isRunning(), false);
}

void tst_SoftwareInstallService::startThatIsNotRun_data()
{
    const auto row = columns<QString, QByteArray, QString>("shell", "profile", "error");
    row("no shell", u"/nonexistent/zsh"_s, {}, u"无法启动 /nonexistent/zsh：找不到该程序，请先安装 zsh"_s);
    row("profile ends", u"/bin/zsh"_s, "exit\n",
        u"登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell，命令没有执行"_s);
}

void tst_SoftwareInstallService::startThatIsNotRun()
{
    QFETCH(QString, shell);
    QFETCH(QByteArray, profile);
    QFETCH(QString, error);
    Scratch scratch;
    scratch.write(u".zprofile"_s, profile);
    ShellService service(scratch.home.path(), QStringLiteral(VAELIX_SOURCE_DIR "/resources/zsh"), shell);
    SoftwareInstallService installer(service, scratch.detection);
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.startCommand = u"true"_s;
    Recording recording;
    QStringList failures;
    const auto onFailure = [&](const InstallError &failure) { failures.append(failure.description()); };
    QVERIFY(installer.start(entry.id, {entry}, recording.onOutput(), onFailure));
    QTRY_COMPARE(failures, QStringList{error});
    QCOMPARE(QString::fromUtf8(recording.output), u">>> 正在启动 A...\n\n❌ 启动失败: %1\n"_s.arg(error));
}

QTEST_GUILESS_MAIN(tst_SoftwareInstallService)
#include "tst_SoftwareInstallService.moc"
