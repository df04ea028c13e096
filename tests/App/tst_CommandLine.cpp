#include "DevServer.h"
#include "Support/Scratch.h"

#include <QProcess>
#include <csignal>

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
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        process.setProcessEnvironment(environment);
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
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    entry.detectCommand = QStringLiteral("ls %1/installed").arg(folder);
    entry.installCommand = QStringLiteral("echo working; touch %1/installed").arg(folder);
    entry.uninstallCommand = QStringLiteral("rm %1/installed; exit 2").arg(folder);
    entry.startCommand = QStringLiteral("echo up; sleep 3; exit 3");
    entry.stopCommand = QStringLiteral("echo unheard; exit 1");
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
    void startStaysUntilTheProgramEnds();
    void interruptLeavesAStartedProgramRunning();
    void interruptCancelsAnInstall();
};

void tst_CommandLine::invocation_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errorOutput");

    QTest::newRow("help") << "--help" << 0 << QByteArray("用法：") << QByteArray();
    QTest::newRow("version") << "--version" << 0 << QByteArray("Vaelix 1.") << QByteArray();
    QTest::newRow("unknown command") << "frobnicate" << 2 << QByteArray() << QByteArray("无法识别的命令");
    QTest::newRow("no subcommand") << "software" << 2 << QByteArray() << QByteArray("用法：");
    QTest::newRow("unknown subcommand") << "software remove a" << 2 << QByteArray() << QByteArray("software remove");
    QTest::newRow("no id") << "software install" << 2 << QByteArray() << QByteArray("需要一个软件 ID");
    QTest::newRow("two ids") << "software install a b" << 2 << QByteArray() << QByteArray("需要一个软件 ID");
    QTest::newRow("unknown option") << "software list --xml" << 2 << QByteArray() << QByteArray("--json");
    QTest::newRow("unknown software") << "software install zzz" << 1 << QByteArray()
                                      << QByteArray("没有 ID 为 “zzz” 的软件");
    QTest::newRow("list") << "software list" << 0 << QByteArray("a   A     未安装\n") << QByteArray();
    QTest::newRow("list as JSON") << "software list --json" << 0 << QByteArray("\"status\": \"not_installed\"")
                                  << QByteArray();
    QTest::newRow("install") << "software install a" << 0 << QByteArray(">>> 正在安装 A...\nworking\n\n✅ 安装完成\n")
                             << QByteArray();
    QTest::newRow("failing uninstall") << "software uninstall a" << 1 << QByteArray("❌ 卸载失败 (exit code: 2)")
                                       << QByteArray("卸载失败，退出码: 2\n");
    QTest::newRow("nothing to upgrade with")
        << "software upgrade a" << 1 << QByteArray() << QByteArray("未配置升级命令\n");
    QTest::newRow("nothing to configure with")
        << "software configure a" << 1 << QByteArray() << QByteArray("该软件没有配置命令\n");
    QTest::newRow("stop of what is not running")
        << "software stop a" << 0 << QByteArray("⚠️ 停止命令执行完毕: \n") << QByteArray();
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
    program.start({QStringLiteral("software"), QStringLiteral("install"), QStringLiteral("a")});
    program.finish();
    program.start({QStringLiteral("software"), QStringLiteral("list"), QStringLiteral("--json")});
    program.output.clear();
    program.finish();
    const auto list = devserver::JSON::parse(program.output.toStdString());
    QCOMPARE(list[0]["status"].get<std::string>(), "installed");
    QVERIFY(list[0].contains("installedAt"));
}

void tst_CommandLine::startStaysUntilTheProgramEnds()
{
    QTemporaryDir folder;
    Program program({entryIn(folder.path())});
    program.start({QStringLiteral("software"), QStringLiteral("start"), QStringLiteral("a")});
    program.finish();
    QCOMPARE(program.output, ">>> 正在启动 A...\nup\n");
    QCOMPARE(program.errorOutput, "启动命令已结束，退出码: 3\n");
    QCOMPARE(program.process.exitCode(), 1);
}

void tst_CommandLine::interruptLeavesAStartedProgramRunning()
{
    QTemporaryDir folder;
    SoftwareCatalogEntry entry = entryIn(folder.path());
    entry.startCommand = QStringLiteral("nohup sh -c 'sleep 3; touch %1/went-on' >/dev/null 2>&1 & echo up; sleep 30")
                             .arg(folder.path());
    Program program({entry});
    program.start({QStringLiteral("software"), QStringLiteral("start"), QStringLiteral("a")});
    program.interruptAfter("up");
    program.finish();
    QCOMPARE(program.process.exitCode(), 0);
    QVERIFY(program.errorOutput.contains("vaelix software stop a"));
    QTRY_VERIFY(QFile::exists(folder.filePath(QStringLiteral("went-on"))));
}

void tst_CommandLine::interruptCancelsAnInstall()
{
    QTemporaryDir folder;
    SoftwareCatalogEntry entry = entryIn(folder.path());
    entry.installCommand = QStringLiteral("echo begun; sleep 4713; touch %1/installed").arg(folder.path());
    Program program({entry});
    program.start({QStringLiteral("software"), QStringLiteral("install"), QStringLiteral("a")});
    program.interruptAfter("begun");
    program.finish();
    QCOMPARE(program.process.exitCode(), 1);
    QVERIFY(program.output.contains("\n⚠️ 已取消\n"));
    QVERIFY(!QFile::exists(folder.filePath(QStringLiteral("installed"))));
    QTRY_VERIFY(QProcess::execute(QStringLiteral("pgrep"), {QStringLiteral("-f"), QStringLiteral("^sleep 4713")}) != 0);
}

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_CommandLine.moc"
