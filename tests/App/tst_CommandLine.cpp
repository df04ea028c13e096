#include "DevServer.h"
#include "Platform/UserDefaults.h"
#include "Support/Scratch.h"
#include "Support/SmallDisk.h"
#include "Support/Table.h"

#include <QProcess>
#include <csignal>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// The real executable against a dev server of its own; settings go to a scratch folder.
class Program
{
public:
    explicit Program(const SoftwareCatalog::Entries &catalog)
        : m_server(
              devserver::ServerState{.catalog = devserver::JSON::parse(SoftwareCatalog::encode(catalog).toStdString())})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("VAELIX_SERVER_ORIGIN"), m_server.start(0).value());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), scratch.path());
        environment.insert(QStringLiteral("XDG_STATE_HOME"), scratch.path());
        environment.insert(QStringLiteral("ZDOTDIR"), scratch.path());
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        process.setProcessEnvironment(environment);
    }

    /// The login profile of the program's shells.
    void setProfile(const QByteArray &content) const
    {
        QFile file(scratch.filePath(QStringLiteral(".zprofile")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    void start(const QStringList &arguments)
    {
        process.start(QStringLiteral(VAELIX_EXECUTABLE), arguments);
        QVERIFY(process.waitForStarted());
    }

    /// Waits for the end with the event loop turning, which the server needs.
    void finish()
    {
        QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 30'000);
        output += process.readAllStandardOutput();
        errorOutput += process.readAllStandardError();
        // The log is not what these tests are about.
        errorOutput.replace(logLine, "");
    }

    void interruptAfter(const QByteArray &text)
    {
        QTRY_VERIFY((output += process.readAllStandardOutput()).contains(text));
        ::kill(pid_t(process.processId()), SIGINT);
    }

    const QByteArray logLine = "[Catalog] 从服务端加载 1 个软件\n";
    QTemporaryDir scratch;
    QProcess process;
    QByteArray output;
    QByteArray errorOutput;

private:
    devserver::DevServer m_server;
};

/// An entry whose files lie in `folder`, installed while the file "installed" is there.
SoftwareCatalogEntry entryIn(const QString &folder)
{
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.detectCommand = u"ls %1/installed"_s.arg(folder);
    entry.installCommand = u"echo working; touch %1/installed"_s.arg(folder);
    entry.uninstallCommand = u"rm %1/installed; exit 2"_s.arg(folder);
    entry.startCommand = u"echo up; sleep 3; exit 3"_s;
    entry.stopCommand = u"echo unheard; exit 1"_s;
    return entry;
}

} // namespace

class tst_CommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void invocation_data();
    void invocation();
    void installIsRememberedByTheNextRun();
    void theNoticeOfASwitchedAccountIsLeftToTheWindow();
    void startStaysUntilTheProgramEnds();
    void interruptLeavesAStartedProgramRunning();
    void interruptCancelsAnInstall();
    void interruptLeavesNoProfileRunning_data();
    void interruptLeavesNoProfileRunning();
    void profileThatEndsTheShell_data();
    void profileThatEndsTheShell();
    void profileThatLeavesAProgramBehind();
    void twoInstallsAtOnce();
    void parentThatIgnoresTheEndOfChildren();
    void namesReachTheTerminalAsOneLine();
    void outputThatCannotBeWrittenIsAFailure();
    void closedOutputIsAFailureAndNoEnd();
    void settingsThatCannotBeKeptAreToldOnce();
    void manyAtOnceLoseNoRecord();
};

void tst_CommandLine::invocation_data()
{
    const auto row = columns<QString, int, QByteArray, QByteArray>("arguments", "exitCode", "output", "errorOutput");

    row("help", u"--help"_s, 0, "用法：", {});
    row("version", u"--version"_s, 0, "Vaelix 1.", {});
    row("unknown command", u"frobnicate"_s, 2, {}, "无法识别的命令");
    row("no subcommand", u"software"_s, 2, {}, "用法：");
    row("unknown subcommand", u"software remove a"_s, 2, {}, "software remove");
    row("no id", u"software install"_s, 2, {}, "需要一个软件 ID");
    row("two ids", u"software install a b"_s, 2, {}, "需要一个软件 ID");
    row("unknown option", u"software list --xml"_s, 2, {}, "--json");
    row("unknown software", u"software install zzz"_s, 1, {}, "没有 ID 为 “zzz” 的软件");
    row("list", u"software list"_s, 0, "a   A     未安装\n", {});
    row("list as JSON", u"software list --json"_s, 0, "\"status\": \"not_installed\"", {});
    row("install", u"software install a"_s, 0, ">>> 正在安装 A...\nworking\n\n✅ 安装完成\n", {});
    row("failing uninstall", u"software uninstall a"_s, 1, "❌ 卸载失败 (exit code: 2)", "卸载失败，退出码: 2\n");
    row("nothing to upgrade with", u"software upgrade a"_s, 1, {}, "未配置升级命令\n");
    row("nothing to configure with", u"software configure a"_s, 1, {}, "该软件没有配置命令\n");
    row("stop of what is not running", u"software stop a"_s, 0, "⚠️ 停止命令执行完毕: \n", {});
}

void tst_CommandLine::invocation()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, errorOutput);
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.start(arguments.split(u' '));
    program.finish();
    QTEST(program.process.exitCode(), "exitCode");
    QVERIFY2(program.output.contains(output), program.output.constData());
    QVERIFY2(program.errorOutput.contains(errorOutput), program.errorOutput.constData());
    QCOMPARE(program.errorOutput.isEmpty(), errorOutput.isEmpty());
}

void tst_CommandLine::installIsRememberedByTheNextRun()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.start({u"software"_s, u"install"_s, u"a"_s});
    program.finish();
    program.start({u"software"_s, u"list"_s, u"--json"_s});
    program.output.clear();
    program.finish();
    const auto list = devserver::JSON::parse(program.output.toStdString());
    QCOMPARE(list[0]["status"].get<std::string>(), "installed");
    QVERIFY(list[0].contains("installedAt"));
}

void tst_CommandLine::theNoticeOfASwitchedAccountIsLeftToTheWindow()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    UserDefaults defaults(program.scratch.filePath(u"com.vaelix.app.json"_s));
    defaults.setTrue(u"needsReconfigureSoftware"_s, true);
    defaults.flush();
    for (const QString &arguments : {u"software list"_s, u"software install a"_s}) {
        program.start(arguments.split(u' '));
        program.finish();
        QCOMPARE(program.process.exitCode(), 0);
    }
    QVERIFY(defaults.isTrue(u"needsReconfigureSoftware"_s));
}

void tst_CommandLine::startStaysUntilTheProgramEnds()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.start({u"software"_s, u"start"_s, u"a"_s});
    program.finish();
    QCOMPARE(program.output, ">>> 正在启动 A...\nup\n");
    QCOMPARE(program.errorOutput, "启动命令已结束，退出码: 3\n");
    QCOMPARE(program.process.exitCode(), 1);
}

void tst_CommandLine::interruptLeavesAStartedProgramRunning()
{
    QTemporaryDir folder;
    SoftwareCatalogEntry entry = entryIn(folder.path());
    entry.startCommand =
        u"nohup sh -c 'sleep 3; touch %1/went-on' >/dev/null 2>&1 & echo up; sleep 30"_s.arg(folder.path());
    Program program({entry});
    program.start({u"software"_s, u"start"_s, u"a"_s});
    program.interruptAfter("up");
    program.finish();
    QCOMPARE(program.process.exitCode(), 0);
    QVERIFY(program.errorOutput.contains("vaelix software stop a"));
    QTRY_VERIFY(QFile::exists(folder.filePath(u"went-on"_s)));
}

void tst_CommandLine::interruptCancelsAnInstall()
{
    QTemporaryDir folder;
    SoftwareCatalogEntry entry = entryIn(folder.path());
    entry.installCommand = u"echo begun; sleep 4713; touch %1/installed"_s.arg(folder.path());
    Program program({entry});
    program.start({u"software"_s, u"install"_s, u"a"_s});
    program.interruptAfter("begun");
    program.finish();
    QCOMPARE(program.process.exitCode(), 1);
    QVERIFY(program.output.contains("\n⚠️ 已取消\n"));
    QVERIFY(!QFile::exists(folder.filePath(u"installed"_s)));
    QTRY_VERIFY(QProcess::execute(u"pgrep"_s, {u"-f"_s, u"^sleep 4713"_s}) != 0);
}

void tst_CommandLine::interruptLeavesNoProfileRunning_data()
{
    const auto row = columns<QString>("command");
    row("list", u"list"_s);
    row("install a", u"install a"_s);
}

void tst_CommandLine::interruptLeavesNoProfileRunning()
{
    QFETCH(QString, command);
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.setProfile("echo $$ > $ZDOTDIR/shell.new; mv $ZDOTDIR/shell.new $ZDOTDIR/shell; while :; do :; done\n");
    program.start(QStringList{u"software"_s} + command.split(u' '));
    QFile shell(program.scratch.filePath(u"shell"_s));
    QTRY_VERIFY_WITH_TIMEOUT(shell.exists(), 20'000);
    QVERIFY(shell.open(QIODevice::ReadOnly));
    const pid_t pid = shell.readAll().trimmed().toInt();
    QCOMPARE(::kill(pid, 0), 0);
    ::kill(pid_t(program.process.processId()), SIGINT);
    program.finish();
    QCOMPARE(program.process.exitCode(), 128 + SIGINT);
    QTRY_COMPARE(::kill(pid, 0), -1);
}

void tst_CommandLine::profileThatEndsTheShell_data()
{
    const auto row = columns<QString, QByteArray>("command", "output");
    row("list", u"list"_s, "a   A     未安装\n");
    row("install", u"install a"_s, "❌ 安装失败: 登录配置");
    row("start", u"start a"_s, "❌ 启动失败: 登录配置");
    row("stop", u"stop a"_s, ">>> 正在停止 A...\n");
}

void tst_CommandLine::profileThatEndsTheShell()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, output);
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.setProfile("exit 0\n");
    program.start(QStringList{u"software"_s} + command.split(u' '));
    program.finish();
    QCOMPARE(program.process.exitCode(), 1);
    QVERIFY2(program.output.contains(output), program.output.constData());
    QVERIFY2(program.errorOutput.contains("登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell"),
             program.errorOutput.constData());
}

void tst_CommandLine::profileThatLeavesAProgramBehind()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.setProfile("echo Welcome\nsleep 4722 &\n");
    program.start({u"software"_s, u"list"_s});
    program.finish();
    QCOMPARE(program.process.exitCode(), 0);
    QVERIFY(program.output.contains("a   A     未安装\n"));
    QVERIFY(QProcess::execute(u"pgrep"_s, {u"-f"_s, u"^sleep 4722"_s}) != 0);
}

void tst_CommandLine::twoInstallsAtOnce()
{
    QTemporaryDir folder;
    SoftwareCatalogEntry entry = entryIn(folder.path());
    entry.installCommand =
        u"echo begun; until [ -e %1/go ]; do sleep 0.1; done; echo once >> %1/installed"_s.arg(folder.path());
    Program first({entry});
    Program second({entry});
    QProcessEnvironment environment = second.process.processEnvironment();
    environment.insert(u"XDG_STATE_HOME"_s, first.scratch.path());
    second.process.setProcessEnvironment(environment);
    first.start({u"software"_s, u"install"_s, u"a"_s});
    QTRY_VERIFY_WITH_TIMEOUT((first.output += first.process.readAllStandardOutput()).contains("begun"), 20'000);
    second.start({u"software"_s, u"uninstall"_s, u"a"_s});
    second.finish();
    QCOMPARE(second.process.exitCode(), 1);
    QCOMPARE(QString::fromUtf8(second.errorOutput),
             u"A 正在由另一个 Vaelix（进程 %1）安装\n"_s.arg(first.process.processId()));
    QFile go(folder.filePath(u"go"_s));
    QVERIFY(go.open(QIODevice::WriteOnly));
    first.finish();
    QCOMPARE(first.process.exitCode(), 0);
    QVERIFY(first.output.contains("✅ 安装完成"));
}

void tst_CommandLine::parentThatIgnoresTheEndOfChildren()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.process.start(
        u"env"_s,
        {u"--ignore-signal=CHLD"_s, QStringLiteral(VAELIX_EXECUTABLE), u"software"_s, u"uninstall"_s, u"a"_s});
    program.finish();
    QVERIFY2(program.output.contains("❌ 卸载失败 (exit code: 2)"), program.output.constData());
}

void tst_CommandLine::namesReachTheTerminalAsOneLine()
{
    SoftwareCatalogEntry entry = testEntry(u"a"_s);
    entry.id = u"a\u001b]0;x\u0007"_s;
    entry.name = u"N\n\u001b[31m\u202Ex"_s;
    Program program({entry});
    program.start({u"software"_s, u"list"_s});
    program.finish();
    QVERIFY2(program.output.contains("a ]0;x   N  [31m x  未安装\n"), program.output.toPercentEncoding());
    QCOMPARE(program.output.count('\n'), 2);
}

void tst_CommandLine::outputThatCannotBeWrittenIsAFailure()
{
    for (const QStringList &arguments : {QStringList{u"software"_s, u"list"_s}, QStringList{u"--version"_s}}) {
        Program program({testEntry(u"a"_s)});
        program.process.setStandardOutputFile(u"/dev/full"_s);
        program.start(arguments);
        program.finish();
        QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.process.exitCode(), 1);
        QCOMPARE(program.errorOutput, "无法写入 标准输出：磁盘空间不足\n");
    }
}

void tst_CommandLine::closedOutputIsAFailureAndNoEnd()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.process.setChildProcessModifier([] {
        int ends[2];
        if (::pipe(ends) == 0) {
            ::dup2(ends[1], STDOUT_FILENO);
            ::close(ends[0]);
            ::close(ends[1]);
        }
    });
    program.start({u"software"_s, u"install"_s, u"a"_s});
    program.finish();
    QCOMPARE(program.process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.process.exitCode(), 1);
    QCOMPARE(program.errorOutput, QByteArray());
    QVERIFY(QFile::exists(folder.filePath(u"installed"_s))); // the operation went on to its end
}

void tst_CommandLine::settingsThatCannotBeKeptAreToldOnce()
{
    const QTemporaryDir mountPoint;
    const SmallDisk disk(mountPoint.path(), 64 * 1024);
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    QProcessEnvironment environment = program.process.processEnvironment();
    environment.insert(u"XDG_CONFIG_HOME"_s, mountPoint.path());
    program.process.setProcessEnvironment(environment);
    const auto settings = [&mountPoint] {
        QFile file(mountPoint.filePath(u"com.vaelix.app.json"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    program.start({u"software"_s, u"list"_s});
    program.finish();
    QCOMPARE(program.process.exitCode(), 0);
    const QByteArray before = settings();
    QVERIFY(before.contains("ai_software_status_v1"));

    disk.fill();
    program.output.clear();
    program.errorOutput.clear();
    program.start({u"software"_s, u"install"_s, u"a"_s});
    program.finish();
    QCOMPARE(program.process.exitCode(), 1);
    QVERIFY(program.output.contains("✅ 安装完成"));
    QVERIFY2(program.errorOutput.endsWith("磁盘空间不足\n"), program.errorOutput.constData());
    QCOMPARE(program.errorOutput.count("设置没有保存："), 1);
    QCOMPARE(settings(), before);
}

void tst_CommandLine::manyAtOnceLoseNoRecord()
{
    constexpr int count = 12;
    QTemporaryDir folder;
    SoftwareCatalog::Entries catalog;
    for (int number = 0; number < count; ++number) {
        SoftwareCatalogEntry entry = testEntry(QString::number(number));
        entry.detectCommand = u"ls %1/%2"_s.arg(folder.path()).arg(number);
        entry.installCommand = u"touch %1/%2"_s.arg(folder.path()).arg(number);
        catalog.append(entry);
    }
    Program first(catalog);
    std::vector<std::unique_ptr<QProcess>> processes;
    for (int number = 0; number < count; ++number) {
        auto &process = processes.emplace_back(std::make_unique<QProcess>());
        process->setProcessEnvironment(first.process.processEnvironment());
        process->start(QStringLiteral(VAELIX_EXECUTABLE), {u"software"_s, u"install"_s, QString::number(number)});
    }
    for (const auto &process : processes) {
        QTRY_COMPARE_WITH_TIMEOUT(process->state(), QProcess::NotRunning, 120'000);
        QCOMPARE(process->exitCode(), 0);
    }
    UserDefaults defaults(first.scratch.filePath(u"com.vaelix.app.json"_s));
    const auto records = SoftwareStore(defaults).loadAll();
    QCOMPARE(records.size(), count);
    for (const StatusRecord &record : records) {
        QCOMPARE(record.status, SoftwareStatus::Installed);
        QVERIFY(record.installedAt);
    }
}

int main(int argc, char *argv[])
{
    SmallDisk::keepMountsPrivate();
    const QCoreApplication application(argc, argv);
    tst_CommandLine test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_CommandLine.moc"
