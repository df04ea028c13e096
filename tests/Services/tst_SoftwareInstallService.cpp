#include "Support/Scratch.h"

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
    void shellThatCannotBeStartedLeavesTheStatusReported();
    void startReturnsWhileTheProgramRuns();
    void stop_data();
    void stop();
    void detection();
};

void tst_SoftwareInstallService::operation_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("statuses");
    QTest::addColumn<QString>("error");

    const Operation install = &SoftwareInstallService::install;
    const Operation upgrade = &SoftwareInstallService::upgrade;
    const Operation uninstall = &SoftwareInstallService::uninstall;
    const auto statuses = [](const char *first, const char *second) {
        return QStringList{QString::fromLatin1(first), QString::fromLatin1(second)};
    };
    QTest::newRow("install") << install << "echo a" << QByteArray(">>> 正在安装 A...\na\n\n✅ 安装完成\n")
                             << statuses("installing", "installed") << QString();
    QTest::newRow("install fails") << install << "exit 2"
                                   << QByteArray(">>> 正在安装 A...\n\n❌ 安装失败 (exit code: 2)\n")
                                   << statuses("installing", "error") << "安装失败，退出码: 2";
    QTest::newRow("no install") << install << "" << QByteArray() << QStringList() << "未配置安装命令";
    QTest::newRow("upgrade") << upgrade << "true" << QByteArray(">>> 正在升级 A...\n\n✅ 升级完成\n")
                             << statuses("upgrading", "installed") << QString();
    QTest::newRow("upgrade fails") << upgrade << "exit 1"
                                   << QByteArray(">>> 正在升级 A...\n\n❌ 升级失败 (exit code: 1)\n")
                                   << statuses("upgrading", "error") << "升级失败，退出码: 1";
    QTest::newRow("no upgrade") << upgrade << "" << QByteArray() << QStringList() << "未配置升级命令";
    QTest::newRow("uninstall") << uninstall << "true" << QByteArray(">>> 正在卸载 A...\n\n✅ 卸载完成\n")
                               << statuses("uninstalling", "not_installed") << QString();
    QTest::newRow("uninstall fails") << uninstall << "kill $$"
                                     << QByteArray(">>> 正在卸载 A...\n\n❌ 卸载失败 (exit code: 143)\n")
                                     << statuses("uninstalling", "error") << "卸载失败，退出码: 143";
    QTest::newRow("no uninstall") << uninstall << "" << QByteArray() << QStringList() << "未配置卸载命令";
}

void tst_SoftwareInstallService::operation()
{
    QFETCH(Operation, operation);
    QFETCH(QString, commandLine);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    entry.installCommand = entry.upgradeCommand = entry.uninstallCommand = commandLine;
    Recording recording;
    recording.end(QCoro::waitFor((scratch.installer.*operation)(QStringLiteral("a"), {entry}, recording.onOutput(),
                                                                recording.onStatusChange())));
    QTEST(recording.output, "output");
    QTEST(recording.statuses, "statuses");
    QTEST(recording.error, "error");

    // Software the catalog does not list is the same as one without a command line.
    Recording unlisted;
    unlisted.end(QCoro::waitFor(
        (scratch.installer.*operation)(QStringLiteral("A"), {entry}, unlisted.onOutput(), unlisted.onStatusChange())));
    QVERIFY(unlisted.error.startsWith(QStringLiteral("未配置")));
}

void tst_SoftwareInstallService::dependency_data()
{
    QTest::addColumn<QString>("detectCommand");
    QTest::addColumn<QString>("error");
    QTest::newRow("installed") << "echo /usr/bin/b" << QString();
    QTest::newRow("prints nothing") << "true" << "缺少依赖: B，请先安装";
    QTest::newRow("fails") << "echo b; exit 1" << "缺少依赖: B，请先安装";
    QTest::newRow("cannot be detected") << "" << "缺少依赖: B，请先安装";
}

void tst_SoftwareInstallService::dependency()
{
    QFETCH(QString, detectCommand);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    entry.installCommand = QStringLiteral("touch ~/installed");
    entry.dependencies = {QStringLiteral("not in the catalog"), QStringLiteral("b"), QStringLiteral("c")};
    SoftwareCatalogEntry needed = testEntry(QStringLiteral("b"));
    needed.detectCommand = detectCommand;
    SoftwareCatalogEntry after = testEntry(QStringLiteral("c"));
    after.detectCommand = QStringLiteral("touch ~/asked; echo c");
    Recording recording;
    recording.end(QCoro::waitFor(
        scratch.installer.install(entry.id, {entry, needed, after}, recording.onOutput(), recording.onStatusChange())));
    QTEST(recording.error, "error");
    const bool goesOn = recording.error.isEmpty();
    QCOMPARE(QFile::exists(scratch.path(QStringLiteral("installed"))), goesOn);
    QCOMPARE(QFile::exists(scratch.path(QStringLiteral("asked"))), goesOn);
    QCOMPARE(recording.statuses.isEmpty() && recording.output.isEmpty(), !goesOn);
}

void tst_SoftwareInstallService::shellThatCannotBeStartedLeavesTheStatusReported()
{
    Scratch scratch;
    ShellService shell(scratch.home.path(), {}, QStringLiteral("/nonexistent/zsh"));
    SoftwareInstallService installer(shell, scratch.detection);
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    entry.installCommand = entry.stopCommand = QStringLiteral("true");
    Recording recording;
    recording.end(
        QCoro::waitFor(installer.install(entry.id, {entry}, recording.onOutput(), recording.onStatusChange())));
    QCOMPARE(recording.error, QStringLiteral("无法启动 /nonexistent/zsh：找不到该程序，请先安装 zsh"));
    QCOMPARE(recording.statuses, QStringList{QStringLiteral("installing")});
    QCOMPARE(recording.output, ">>> 正在安装 A...\n");

    recording.end(QCoro::waitFor(installer.stop(entry.id, {entry}, recording.onOutput())));
    QVERIFY(recording.failed);
}

void tst_SoftwareInstallService::startReturnsWhileTheProgramRuns()
{
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    Recording recording;
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput()));
    QCOMPARE(recording.error, QStringLiteral("未配置启动命令"));

    entry.startCommand = QStringLiteral("sleep 0.1; echo later; exit 1");
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput()));
    QVERIFY(!recording.failed);
    QCOMPARE(recording.output, ">>> 正在启动 A...\n");
    QTRY_COMPARE(recording.output, ">>> 正在启动 A...\nlater\n");
}

void tst_SoftwareInstallService::stop_data()
{
    QTest::addColumn<QString>("commandLine");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("error");
    QTest::newRow("stopped") << "echo not shown" << QByteArray(">>> 正在停止 A...\n✅ 已停止\n") << QString();
    QTest::newRow("nothing to stop") << "pkill -f vaelix-test-no-such-program"
                                     << QByteArray(">>> 正在停止 A...\n⚠️ 停止命令执行完毕: \n") << QString();
    QTest::newRow("complains") << "echo ' why ' >&2; exit 4"
                               << QByteArray(">>> 正在停止 A...\n⚠️ 停止命令执行完毕: why\n") << QString();
    QTest::newRow("no command") << "" << QByteArray() << "未配置停止命令";
}

void tst_SoftwareInstallService::stop()
{
    QFETCH(QString, commandLine);
    Scratch scratch;
    SoftwareCatalogEntry entry = testEntry(QStringLiteral("a"));
    entry.stopCommand = commandLine;
    Recording recording;
    recording.end(QCoro::waitFor(scratch.installer.stop(entry.id, {entry}, recording.onOutput())));
    QTEST(recording.output, "output");
    QTEST(recording.error, "error");
}

void tst_SoftwareInstallService::detection()
{
    Scratch scratch;
    SoftwareCatalogEntry found = testEntry(QStringLiteral("found"));
    found.detectCommand = QStringLiteral("which zsh");
    SoftwareCatalogEntry silent = testEntry(QStringLiteral("silent"));
    silent.detectCommand = QStringLiteral("true");
    SoftwareCatalogEntry again = testEntry(QStringLiteral("found"));
    const auto isInstalled = QCoro::waitFor(scratch.detection.detectAll({found, silent}));
    QCOMPARE(isInstalled, (QHash<QString, bool>{{QStringLiteral("found"), true}, {QStringLiteral("silent"), false}}));
    QVERIFY(!QCoro::waitFor(scratch.detection.detectAll({found, again}))[QStringLiteral("found")]);

    scratch.write(QStringLiteral("bin/crewai"), "#!/bin/sh\nsleep 20\n");
    auto program =
        scratch.shell.runWithStreaming(QStringLiteral("chmod +x ~/bin/crewai; ~/bin/crewai"), [](QUtf8StringView) { });
    const QStringList ids{QStringLiteral("crewai"), QStringLiteral("unknown")};
    QTRY_COMPARE(QCoro::waitFor(scratch.monitor.checkAllStatus(ids)),
                 (QHash<QString, bool>{{QStringLiteral("crewai"), true}, {QStringLiteral("unknown"), false}}));
    scratch.shell.currentStreamingProcess->terminate();
    QVERIFY(QCoro::waitFor(std::move(program)).value() != 0);
    QVERIFY(!QCoro::waitFor(scratch.monitor.checkAllStatus(ids))[QStringLiteral("crewai")]);
    QVERIFY(QCoro::waitFor(scratch.monitor.checkAllStatus({})).isEmpty());
}

QTEST_GUILESS_MAIN(tst_SoftwareInstallService)
#include "tst_SoftwareInstallService.moc"
