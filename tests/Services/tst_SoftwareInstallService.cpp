#include "Support/Scratch.h"
#include "Support/Table.h"

using namespace Qt::StringLiterals;

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
    const bool goesOn = recording.error.isEmpty();
    QCOMPARE(QFile::exists(scratch.path(u"installed"_s)), goesOn);
    QCOMPARE(QFile::exists(scratch.path(u"asked"_s)), goesOn);
    QCOMPARE(recording.statuses.isEmpty() && recording.output.isEmpty(), !goesOn);
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
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput()));
    QCOMPARE(recording.error, u"未配置启动命令"_s);

    entry.startCommand = u"sleep 0.1; echo later; exit 1"_s;
    recording.end(scratch.installer.start(entry.id, {entry}, recording.onOutput()));
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
    SoftwareCatalogEntry again = testEntry(u"found"_s);
    const auto isInstalled = QCoro::waitFor(scratch.detection.detectAll({found, silent}));
    QCOMPARE(isInstalled, (QHash<QString, bool>{{u"found"_s, true}, {u"silent"_s, false}}));
    QVERIFY(!QCoro::waitFor(scratch.detection.detectAll({found, again}))[u"found"_s]);

    scratch.write(u"bin/crewai"_s, "#!/bin/sh\nsleep 20\n");
    auto program = scratch.shell.runWithStreaming(u"chmod +x ~/bin/crewai; ~/bin/crewai"_s, [](QUtf8StringView) { });
    const QStringList ids{u"crewai"_s, u"unknown"_s};
    QTRY_COMPARE(QCoro::waitFor(scratch.monitor.checkAllStatus(ids)),
                 (QHash<QString, bool>{{u"crewai"_s, true}, {u"unknown"_s, false}}));
    scratch.shell.currentStreamingProcess->terminate();
    QVERIFY(QCoro::waitFor(std::move(program)).value() != 0);
    QVERIFY(!QCoro::waitFor(scratch.monitor.checkAllStatus(ids))[u"crewai"_s]);
    QVERIFY(QCoro::waitFor(scratch.monitor.checkAllStatus({})).isEmpty());
}

QTEST_GUILESS_MAIN(tst_SoftwareInstallService)
#include "tst_SoftwareInstallService.moc"
