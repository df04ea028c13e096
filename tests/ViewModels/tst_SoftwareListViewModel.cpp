#include "Support/Scratch.h"
#include "Support/Table.h"

#include <QDir>
#include <QProcess>
#include <QSignalSpy>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString openClaw = u"openclaw"_s;

/// For ~/.zprofile: the line that ends a former gateway kills by name, which no test may do.
const QByteArray keepKillsToTheTest = "pkill() { print -r - $* >> ~/killed }\n";

/// A scratch home, a catalog of its own and the view model over it.
struct Fixture {
    explicit Fixture(const SoftwareCatalog::Entries &entries)
    {
        scratch.setCatalog(entries);
        QCoro::waitFor(viewModel.loadData());
    }

    AISoftware *software(const QString &id = u"a"_s) { return viewModel.software(id); }
    QByteArray output() { return viewModel.terminalOutput()->text(); }

    Scratch scratch;
    SoftwareListViewModel viewModel{scratch.services()};
};

/// The scratch home's services over a shell that gives up after two seconds.
struct ImpatientServices {
    explicit ImpatientServices(Scratch &all)
        : scratch(all)
    {
    }

    SoftwareListViewModel::Services services()
    {
        return {scratch.catalog,
                scratch.store,
                detection,
                monitor,
                installer,
                scratch.keychain,
                scratch.defaults,
                scratch.folders,
                scratch.openClaw,
                scratch.hermes,
                scratch.workspace,
                scratch.qqBotConnection,
                scratch.weChatConnection};
    }

    Scratch &scratch;
    ShellService shell{scratch.home.path(), QStringLiteral(VAELIX_SOURCE_DIR "/resources/zsh"), u"/bin/zsh"_s, 2s};
    SoftwareDetectionService detection{shell};
    SoftwareMonitorService monitor{shell};
    SoftwareInstallService installer{shell, detection};
};

using Command = QCoro::Task<> (SoftwareListViewModel::*)(AISoftware *);

/// An entry that is installed while the file ~/installed exists.
SoftwareCatalogEntry installable(const QString &id = u"a"_s)
{
    SoftwareCatalogEntry entry = testEntry(id);
    entry.detectCommand = u"ls ~/installed"_s;
    entry.installCommand = u"touch ~/installed && echo working"_s;
    entry.uninstallCommand = u"rm ~/installed"_s;
    return entry;
}

} // namespace

Q_DECLARE_METATYPE(Command)

class tst_SoftwareListViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogFallsBack_data();
    void catalogFallsBack();
    void installThenUninstall();
    void secondRunRemembers();
    void versionIsWhatTheProgramSays_data();
    void versionIsWhatTheProgramSays();
    void firstOfTwoEntriesWithOneIdIsAskedAndRun();
    void failures_data();
    void failures();
    void upgradeTakesTheOfferedVersion();
    void offeredUpgrade_data();
    void offeredUpgrade();
    void startAndStop();
    void cancellingEndsTheProgramAndKeepsTheWindowIdle();
    void cancelledOperationDoesNotEndTheNext();
    void openClawGatewayComesUpAfterInstall();
    void configure_data();
    void configure();
    void configurationMarks();
    void filter_data();
    void filter();
    void filteredRowsKeepTheirDelegates();
    void detectionSparesSoftwareInProgress();
    void unansweredQuestionLeavesTheStatus();
    void profileThatNeverEndsIsNamedOnce();
    void greetingIsNoVersion();
    void programInAnotherHandIsLeftAlone_data();
    void programInAnotherHandIsLeftAlone();
    void programCanBeInstalledAnewAfterACancel();
    void startThatIsNotRunSaysSo_data();
    void startThatIsNotRunSaysSo();
    void stopThatCannotBeStartedLeavesTheStatus();
    void outputIsLogged();
    void selectionEndsWithTheCatalogEntry();
    void viewModelMayGoWhileAnOperationRuns();
};

void tst_SoftwareListViewModel::catalogFallsBack_data()
{
    const auto row = columns<QByteArray, QStringList>("resource", "ids");
    const QStringList builtIn{openClaw, u"hermes"_s};
    const QByteArray good = SoftwareCatalog::encode({testEntry(u"a"_s), testEntry(u"b"_s)});
    row("resource", good, QStringList{u"a"_s, u"b"_s});
    row("no resource", {}, builtIn);
    row("one bad entry", QByteArray(good).replace("\"name\":\"B\"", "\"name\":7"), builtIn);
    row("broken JSON", good.chopped(3), builtIn);
}

void tst_SoftwareListViewModel::catalogFallsBack()
{
    QFETCH(QByteArray, resource);
    Scratch scratch;
    if (!resource.isEmpty())
        scratch.write(u"Contents/Resources/SoftwareCatalog.json"_s, resource);
    SoftwareListViewModel viewModel(scratch.services());
    QCoro::waitFor(viewModel.loadData());
    QStringList ids;
    for (const AISoftware *software : viewModel.softwareList())
        ids.append(software->id());
    QTEST(ids, "ids");
    QVERIFY(viewModel.errorMessage().isEmpty());
    QVERIFY(!viewModel.isLoading());
}

void tst_SoftwareListViewModel::installThenUninstall()
{
    Fixture fixture({installable()});
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QSignalSpy busy(&fixture.viewModel, &SoftwareListViewModel::isOperatingChanged);

    auto installing = fixture.viewModel.install(fixture.software());
    QVERIFY(fixture.viewModel.isOperating());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installing);
    QCoro::waitFor(std::move(installing));
    QCOMPARE(fixture.output(), ">>> 正在安装 A...\nworking\n\n✅ 安装完成\n");
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
    QVERIFY(fixture.software()->installedAt()->secsTo(QDateTime::currentDateTime()) < 60);
    QCOMPARE(busy.count(), 2);
    QVERIFY(!fixture.viewModel.isOperating());

    QCoro::waitFor(fixture.viewModel.uninstall(fixture.software()));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QVERIFY(!fixture.software()->installedAt());
    QCOMPARE(fixture.output(), ">>> 正在卸载 A...\n\n✅ 卸载完成\n");
    QVERIFY(fixture.viewModel.errorMessage().isEmpty());
}

void tst_SoftwareListViewModel::secondRunRemembers()
{
    Fixture fixture({installable(openClaw)});
    fixture.scratch.write(u".zprofile"_s, "openclaw() { echo 'OpenClaw 2026.7.35 (aa94808)' }\n" + keepKillsToTheTest);
    // Without the gateway's program its start ends by itself.
    QCoro::waitFor(fixture.viewModel.install(fixture.software(openClaw)));
    QCOMPARE(fixture.software(openClaw)->version(), u"OpenClaw 2026.7.35 (aa94808)"_s);

    SoftwareStore store(fixture.scratch.defaults);
    store.merge({installable(openClaw)});
    const AISoftware *const remembered = store.software(openClaw);
    QCOMPARE(remembered->status(), SoftwareStatus::Installed);
    QCOMPARE(remembered->version(), u"OpenClaw 2026.7.35 (aa94808)"_s);
    QCOMPARE(remembered->installedAt(), fixture.software(openClaw)->installedAt());
}

void tst_SoftwareListViewModel::versionIsWhatTheProgramSays_data()
{
    const auto row = columns<QByteArray, QString>("program", "version");
    row("one line", "echo ollama version is 0.5.7", u"ollama version is 0.5.7"_s);
    row("the line with the number", "echo note: see the manual; echo ' Claw 1.2.3 '; echo node 24.1", u"Claw 1.2.3"_s);
    row("no number", "echo GUI App", u"GUI App"_s);
    row("colours", "printf '\\033[1mClaw 1.2\\033[0m\\n'", u" [1mClaw 1.2 [0m"_s);
    row("fails", "echo Claw 9.9; return 3", u"stored"_s);
    row("prints nothing", "true", u"stored"_s);
    row("prints to the other stream", "echo Claw 9.9 >&2", u"stored"_s);
}

void tst_SoftwareListViewModel::versionIsWhatTheProgramSays()
{
    QFETCH(QByteArray, program);
    Fixture fixture({installable(openClaw)});
    fixture.scratch.write(u".zprofile"_s, "openclaw() { " + program + " }\n");
    fixture.software(openClaw)->setStatus(SoftwareStatus::Installed);
    fixture.software(openClaw)->setVersion(u"stored"_s);
    QCoro::waitFor(fixture.viewModel.detectLocalVersions());
    QTEST(fixture.software(openClaw)->version(), "version");
}

void tst_SoftwareListViewModel::firstOfTwoEntriesWithOneIdIsAskedAndRun()
{
    SoftwareCatalogEntry second = installable();
    second.name = u"另一个"_s;
    second.detectCommand = u"echo there"_s;
    second.installCommand = u"touch ~/wrong"_s;
    Fixture fixture({installable(), second});
    QCOMPARE(fixture.viewModel.filteredModel()->rowCount(), 1);
    QCOMPARE(fixture.software()->name, u"A"_s);
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QCoro::waitFor(fixture.viewModel.install(fixture.software()));
    QVERIFY(QFile::exists(fixture.scratch.path(u"installed"_s)));
    QVERIFY(!QFile::exists(fixture.scratch.path(u"wrong"_s)));
}

void tst_SoftwareListViewModel::failures_data()
{
    const auto row = columns<QString, QString, QString, int, QByteArray>("installCommand", "dependency", "errorMessage",
                                                                         "status", "output");
    const int untouched = SoftwareStatus::NotInstalled;
    row("no command", u""_s, u""_s, u"未配置安装命令"_s, untouched, {});
    row("missing dependency", u"true"_s, u"absent"_s, u"缺少依赖: ABSENT，请先安装"_s, untouched, {});
    row("exit status 2", u"exit 2"_s, u""_s, u"安装失败，退出码: 2"_s, SoftwareStatus::Error,
        ">>> 正在安装 A...\n\n❌ 安装失败 (exit code: 2)\n");
    row("cannot be started", u"true"_s + QString(200'000, u' '), u""_s, u"无法执行命令：命令行过长（超过 128 KB）"_s,
        SoftwareStatus::Installing, ">>> 正在安装 A...\n");
}

void tst_SoftwareListViewModel::failures()
{
    QFETCH(QString, installCommand);
    QFETCH(QString, dependency);
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = installCommand;
    entry.dependencies = {dependency};
    Fixture fixture({entry, testEntry(u"absent"_s)});
    QCoro::waitFor(fixture.viewModel.install(fixture.software()));
    QTEST(fixture.viewModel.errorMessage(), "errorMessage");
    QTEST(fixture.output(), "output");
    QTEST(int(fixture.software()->status()), "status");
    QVERIFY(!fixture.viewModel.isOperating());
    QVERIFY(!fixture.software()->installedAt());
}

void tst_SoftwareListViewModel::upgradeTakesTheOfferedVersion()
{
    SoftwareCatalogEntry entry = installable();
    entry.version = u"2.0"_s;
    entry.upgradeCommand = u"echo upgrading"_s;
    Fixture fixture({entry});
    QVERIFY(fixture.software()->latestVersion.isEmpty());
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.software()->latestVersion, u"2.0"_s);
    QCoro::waitFor(fixture.viewModel.upgrade(fixture.software()));
    QCOMPARE(fixture.software()->version(), u"2.0"_s);
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::offeredUpgrade_data()
{
    const auto row =
        columns<QString, QString, QString, bool>("version", "latestVersion", "upgradeCommand", "isOffered");
    row("same", u"0.5.7"_s, u"0.5.7"_s, u"u"_s, false);
    row("whole output line", u"ollama version is 0.5.7"_s, u"0.5.7"_s, u"u"_s, false);
    row("another", u"0.6.0"_s, u"0.5.7"_s, u"u"_s, true);
    row("no command", u"0.5.0"_s, u"0.5.7"_s, u""_s, false);
    row("local unknown", u""_s, u"0.5.7"_s, u"u"_s, false);
    row("latest unknown", u"0.5.7"_s, u""_s, u"u"_s, false);
}

void tst_SoftwareListViewModel::offeredUpgrade()
{
    QFETCH(QString, version);
    QFETCH(QString, latestVersion);
    QFETCH(QString, upgradeCommand);
    Scratch scratch;
    const SoftwareListViewModel viewModel(scratch.services());
    AISoftware software(u"a"_s);
    software.setVersion(version);
    software.latestVersion = latestVersion;
    software.upgradeCommand = upgradeCommand;
    QTEST(viewModel.hasUpgrade(&software), "isOffered");
}

void tst_SoftwareListViewModel::startAndStop()
{
    SoftwareCatalogEntry entry = installable();
    entry.startCommand = u"echo serving; sleep 0.2; echo served"_s;
    entry.stopCommand = u"touch ~/stopped"_s;
    Fixture fixture({entry});
    auto starting = fixture.viewModel.start(fixture.software());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QCoro::waitFor(std::move(starting));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Running);
    QCOMPARE(fixture.output(), ">>> 正在启动 A...\nserving\nserved\n");
    QVERIFY(!fixture.viewModel.isOperating());

    QCoro::waitFor(fixture.viewModel.stop(fixture.software()));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Stopped);
    QCOMPARE(fixture.output(), ">>> 正在停止 A...\n✅ 已停止\n");
    QCOMPARE(fixture.scratch.store.loadAll()[u"a"_s].status, SoftwareStatus::Stopped);

    fixture.scratch.write(u"installed"_s, {});
    QCoro::waitFor(fixture.viewModel.detectAllStatus());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::cancellingEndsTheProgramAndKeepsTheWindowIdle()
{
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = u"echo begun; sleep 30; touch ~/installed"_s;
    Fixture fixture({entry});
    auto installing = fixture.viewModel.install(fixture.software());
    QTRY_VERIFY(fixture.output().contains("begun"));
    const auto process = fixture.scratch.shell.currentStreamingProcess;
    fixture.viewModel.cancelInstall(fixture.software());
    QVERIFY(!fixture.viewModel.isOperating());
    QCOMPARE(fixture.output(), ">>> 正在安装 A...\nbegun\n\n⚠️ 已取消\n");
    QCoro::waitFor(std::move(installing));
    QVERIFY(process->exitCode().value() > 128);
    QVERIFY(!QFile::exists(fixture.scratch.path(u"installed"_s)));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QCOMPARE(fixture.scratch.store.loadAll()[u"a"_s].status, SoftwareStatus::NotInstalled);
    QVERIFY(!fixture.scratch.shell.currentStreamingProcess);
}

void tst_SoftwareListViewModel::cancelledOperationDoesNotEndTheNext()
{
    SoftwareCatalogEntry slow = installable();
    slow.installCommand = u"trap 'sleep 0.3; exit 1' TERM; echo begun; sleep 30"_s;
    SoftwareCatalogEntry next = installable(u"b"_s);
    next.installCommand = u"until [ -e ~/go ]; do sleep 0.05; done; touch ~/installed"_s;
    Fixture fixture({slow, next});
    auto first = fixture.viewModel.install(fixture.software());
    QTRY_VERIFY(fixture.output().contains("begun"));
    fixture.viewModel.cancelInstall(fixture.software());
    auto second = fixture.viewModel.install(fixture.software(u"b"_s));
    QCoro::waitFor(std::move(first));
    QVERIFY(fixture.viewModel.isOperating());
    fixture.scratch.write(u"go"_s, {});
    QCoro::waitFor(std::move(second));
    QVERIFY(!fixture.viewModel.isOperating());
    QCOMPARE(fixture.software(u"b"_s)->status(), SoftwareStatus::Installed);
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
}

void tst_SoftwareListViewModel::openClawGatewayComesUpAfterInstall()
{
    Fixture fixture({installable(openClaw)});
    fixture.scratch.write(u".zprofile"_s, keepKillsToTheTest);
    fixture.scratch.writeProgram(u".openclaw/bin/openclaw"_s, "#!/bin/sh\necho gateway $1 is up\n");
    QCoro::waitFor(fixture.viewModel.install(fixture.software(openClaw)));
    QCOMPARE(fixture.scratch.read(u"killed"_s), "-f openclaw-gateway\n-x openclaw\n");
    QTRY_COMPARE(fixture.output(), ">>> 启动 OpenClaw Gateway...\ngateway gateway is up\n");
}

void tst_SoftwareListViewModel::configure_data()
{
    const auto row = columns<QString, QByteArray, QString>("configCommand", "output", "errorMessage");
    row("none", u""_s, {}, u"该软件没有配置命令"_s);
    row("done", u"mkdir ~/.openclaw && echo \"<$QUENDA_API_KEY> $QUENDA_API_URL\" > ~/.openclaw/openclaw.json"_s,
        ">>> 执行配置 (已注入 API 凭据)\n\n✅ 配置完成\n", {});
    row("fails", u"exit 9"_s, ">>> 执行配置 (已注入 API 凭据)\n\n❌ 配置失败 (exit code: 9)\n", u"配置脚本执行失败"_s);
    row("cannot be started", QString(200'000, u':'),
        ">>> 执行配置 (已注入 API 凭据)\n❌ 执行失败: 无法执行命令：命令行过长（超过 128 KB）\n",
        u"无法执行命令：命令行过长（超过 128 KB）"_s);
}

void tst_SoftwareListViewModel::configure()
{
    QFETCH(QString, configCommand);
    SoftwareCatalogEntry entry = installable(openClaw);
    entry.configCommand = configCommand;
    Fixture fixture({entry});
    const QString key = u"k'; touch ~/pwned #"_s;
    fixture.scratch.keychain.save(u"user_api_key"_s, key);
    QCoro::waitFor(fixture.viewModel.configure(fixture.software(openClaw)));
    QTEST(fixture.output(), "output");
    QTEST(fixture.viewModel.errorMessage(), "errorMessage");
    QVERIFY(!fixture.viewModel.isOperating());
    const bool isDone = fixture.viewModel.errorMessage().isEmpty();
    QCOMPARE(fixture.viewModel.configuredSoftwareIds(), isDone ? QStringList{openClaw} : QStringList());
    if (isDone)
        QCOMPARE(fixture.scratch.read(u".openclaw/openclaw.json"_s),
                 '<' + key.toUtf8() + "> https://api.vaelix.example/v1\n");
    QVERIFY(!QFile::exists(fixture.scratch.path(u"pwned"_s)));
}

void tst_SoftwareListViewModel::configurationMarks()
{
    Fixture fixture({installable()});
    fixture.scratch.write(u".hermes/config.yaml"_s, "x");
    fixture.viewModel.checkConfigStatus();
    QCOMPARE(fixture.viewModel.configuredSoftwareIds(), QStringList{u"hermes"_s});
    QFile::remove(fixture.scratch.path(u".hermes/config.yaml"_s));
    QCoro::waitFor(fixture.viewModel.uninstall(fixture.software()));
    QVERIFY(fixture.viewModel.configuredSoftwareIds().isEmpty());
}

void tst_SoftwareListViewModel::filter_data()
{
    const auto row = columns<QString, int, QStringList>("searchText", "category", "names");
    const int all = SoftwareListViewModel::allCategories;
    row("nothing asked", u""_s, all, QStringList{u"Ollama"_s, u"Élan"_s, u"画图"_s});
    row("any case", u"OLLAMA"_s, all, QStringList{u"Ollama"_s});
    row("any case beyond ASCII", u"élAN"_s, all, QStringList{u"Élan"_s});
    row("description only", u"本地模型"_s, all, QStringList{u"Ollama"_s, u"画图"_s});
    row("white space is not trimmed", u" Ollama"_s, all, {});
    row("category", u""_s, SoftwareCategory::Model, QStringList{u"画图"_s});
    row("both", u"ollama"_s, SoftwareCategory::Model, {});
}

void tst_SoftwareListViewModel::filter()
{
    QFETCH(QString, searchText);
    QFETCH(int, category);
    SoftwareCatalog::Entries entries{testEntry(u"a"_s), testEntry(u"b"_s), testEntry(u"c"_s)};
    entries[0].name = u"Ollama"_s;
    entries[0].description = entries[2].description = u"运行本地模型"_s;
    entries[1].name = u"Élan"_s;
    entries[2].name = u"画图"_s;
    entries[2].category = SoftwareCategory::Model;
    Fixture fixture(entries);
    fixture.viewModel.setSearchText(searchText);
    fixture.viewModel.setSelectedCategory(category);
    QStringList names;
    for (int row = 0; row < fixture.viewModel.filteredModel()->rowCount(); ++row)
        names.append(fixture.viewModel.filteredModel()->index(row).data().toString());
    QTEST(names, "names");
}

void tst_SoftwareListViewModel::filteredRowsKeepTheirDelegates()
{
    QList<AISoftware *> list;
    for (int number = 0; number < 6; ++number)
        list.append(new AISoftware(QString::number(number), this));
    SoftwareListModel model;
    model.setSoftware(list);
    QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    const QList<QList<AISoftware *>> steps{{list[0], list[1], list[5]}, list, {}, {list[3]},
                                           {list[2], list[3], list[4]}, list};
    for (const auto &step : steps) {
        model.setSoftware(step);
        QCOMPARE(model.software(), step);
    }
    QCOMPARE(removed.first().sliced(1), QVariantList({2, 4}));
    QCOMPARE(inserted.first().sliced(1), QVariantList({2, 4}));
    model.setSoftware(list);
    QCOMPARE(inserted.count(), 4);
}

void tst_SoftwareListViewModel::detectionSparesSoftwareInProgress()
{
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = u"sleep 0.5; touch ~/installed"_s;
    Fixture fixture({entry});
    auto installing = fixture.viewModel.install(fixture.software());
    QCoro::waitFor(fixture.viewModel.detectAllStatus());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installing);
    QCoro::waitFor(std::move(installing));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::unansweredQuestionLeavesTheStatus()
{
    Scratch scratch;
    ImpatientServices impatient(scratch);
    const QString ollama = u"ollama"_s;
    SoftwareCatalogEntry hanging = installable();
    hanging.detectCommand = u"ls ~/installed && until [ -e ~/go ]; do sleep 0.1; done"_s;
    SoftwareCatalogEntry served = installable(ollama);
    scratch.setCatalog({hanging, served});
    scratch.write(u"installed"_s, {});
    scratch.write(u"go"_s, {});
    scratch.write(u".zprofile"_s, "curl() { until [ -e ~/go ]; do sleep 0.1; done; echo '{}' }\n");
    SoftwareListViewModel viewModel(impatient.services());
    QCoro::waitFor(viewModel.loadData());
    QCOMPARE(viewModel.software(u"a"_s)->status(), SoftwareStatus::Installed);
    QCOMPARE(viewModel.software(ollama)->status(), SoftwareStatus::Running);
    QVERIFY(viewModel.detectionFailure().isEmpty());

    QFile::remove(scratch.path(u"go"_s));
    QCoro::waitFor(viewModel.detectAllStatus());
    QCOMPARE(viewModel.software(u"a"_s)->status(), SoftwareStatus::Installed);
    QCOMPARE(viewModel.software(ollama)->status(), SoftwareStatus::Running);
    QCOMPARE(scratch.store.loadAll()[ollama].status, SoftwareStatus::Running);
    QVERIFY(viewModel.detectionFailure().contains(u"秒内没有结束"_s));

    scratch.write(u"go"_s, {});
    QCoro::waitFor(viewModel.detectAllStatus());
    QVERIFY(viewModel.detectionFailure().isEmpty());
}

void tst_SoftwareListViewModel::profileThatNeverEndsIsNamedOnce()
{
    Scratch scratch;
    ImpatientServices impatient(scratch);
    scratch.setCatalog({installable(), installable(openClaw)});
    scratch.write(u"installed"_s, {});
    SoftwareListViewModel viewModel(impatient.services());
    QCoro::waitFor(viewModel.loadData());
    scratch.write(u".zprofile"_s, "echo login >> ~/logins; while :; do sleep 1; done\n");
    QCoro::waitFor(viewModel.loadData());
    QVERIFY(!viewModel.isLoading());
    QVERIFY(viewModel.detectionFailure().startsWith(u"登录配置（~/.zprofile 等）"_s));
    QCOMPARE(viewModel.software(u"a"_s)->status(), SoftwareStatus::Installed);
    QCOMPARE(scratch.read(u"logins"_s), "login\n");
}

void tst_SoftwareListViewModel::greetingIsNoVersion()
{
    Fixture fixture({installable(openClaw)});
    fixture.scratch.write(u"installed"_s, {});
    fixture.scratch.write(
        u".zprofile"_s, "echo Welcome; openclaw() { echo OpenClaw 1.0; [[ -e ~/broken ]] && return 1 || return 0 }\n");
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.software(openClaw)->version(), u"OpenClaw 1.0"_s);

    // Nor is what a program prints that fails.
    fixture.software(openClaw)->setVersion(u"before"_s);
    fixture.scratch.write(u"broken"_s, {});
    QCoro::waitFor(fixture.viewModel.detectLocalVersions());
    QCOMPARE(fixture.software(openClaw)->version(), u"before"_s);
}

void tst_SoftwareListViewModel::programInAnotherHandIsLeftAlone_data()
{
    const auto row = columns<Command>("command");
    row("install", &SoftwareListViewModel::install);
    row("upgrade", &SoftwareListViewModel::upgrade);
    row("uninstall", &SoftwareListViewModel::uninstall);
    row("start", &SoftwareListViewModel::start);
    row("stop", &SoftwareListViewModel::stop);
    row("configure", &SoftwareListViewModel::configure);
}

void tst_SoftwareListViewModel::programInAnotherHandIsLeftAlone()
{
    QFETCH(Command, command);
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = entry.upgradeCommand = entry.uninstallCommand = entry.startCommand = entry.stopCommand =
        entry.configCommand = u"touch ~/was-run"_s;
    Fixture fixture({entry});
    const QString lock = u".local/state/vaelix/locks/a.lock"_s;
    fixture.scratch.write(lock, "1234\n安装\n");
    QProcess other;
    other.start(u"flock"_s, {fixture.scratch.path(lock), u"-c"_s, u"echo held; cat"_s});
    QVERIFY(other.waitForReadyRead());
    const auto status = fixture.software()->status();
    const auto refused = std::invoke(command, fixture.viewModel, fixture.software());
    QCoro::waitFor(refused);
    QCOMPARE(fixture.viewModel.errorMessage(), u"A 正在由另一个 Vaelix（进程 1234）安装"_s);
    QVERIFY(!fixture.viewModel.isOperating());
    QCOMPARE(fixture.software()->status(), status);
    QVERIFY(!QFile::exists(fixture.scratch.path(u"was-run"_s)));

    other.closeWriteChannel();
    QVERIFY(other.waitForFinished());
    const auto run = std::invoke(command, fixture.viewModel, fixture.software());
    QCoro::waitFor(run);
    QTRY_VERIFY(QFile::exists(fixture.scratch.path(u"was-run"_s)));
}

void tst_SoftwareListViewModel::programCanBeInstalledAnewAfterACancel()
{
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = u"echo $$ >> ~/begun; [[ -e ~/quick ]] || sleep 30; touch ~/installed"_s;
    Fixture fixture({entry});
    auto first = fixture.viewModel.install(fixture.software());
    QTRY_VERIFY(!fixture.scratch.read(u"begun"_s).isEmpty());
    const pid_t shell = fixture.scratch.read(u"begun"_s).trimmed().toInt();
    QCOMPARE(::kill(shell, 0), 0);
    fixture.viewModel.cancelInstall(fixture.software());
    fixture.scratch.write(u"quick"_s, {});
    QCoro::waitFor(fixture.viewModel.install(fixture.software()));
    QCOMPARE(fixture.viewModel.errorMessage(), QString());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
    QCOMPARE(::kill(shell, 0), -1);
    QCoro::waitFor(std::move(first));
}

void tst_SoftwareListViewModel::startThatIsNotRunSaysSo_data()
{
    const auto row = columns<QString, QByteArray, QString>("startCommand", "profile", "error");
    row("line too long", QString(200'000, u':'), {}, u"无法执行命令：命令行过长（超过 128 KB）"_s);
    row("profile ends", u"true"_s, "exit\n",
        u"登录配置（~/.zprofile 等）中的 exit 或 exec 提前结束了 shell，命令没有执行"_s);
}

void tst_SoftwareListViewModel::startThatIsNotRunSaysSo()
{
    QFETCH(QString, startCommand);
    QFETCH(QByteArray, profile);
    QFETCH(QString, error);
    SoftwareCatalogEntry entry = installable(openClaw);
    entry.startCommand = startCommand;
    Fixture fixture({entry});
    fixture.scratch.write(u".zprofile"_s, profile);
    QCoro::waitFor(fixture.viewModel.start(fixture.software(openClaw)));
    QCOMPARE(fixture.viewModel.errorMessage(), error);
    QCOMPARE(fixture.software(openClaw)->status(), SoftwareStatus::NotInstalled);
    QVERIFY(fixture.output().endsWith(u"❌ 启动失败: %1\n"_s.arg(error).toUtf8()));
}

void tst_SoftwareListViewModel::stopThatCannotBeStartedLeavesTheStatus()
{
    SoftwareCatalogEntry entry = installable();
    entry.startCommand = u"true"_s;
    entry.stopCommand = QString(200'000, u':');
    Fixture fixture({entry});
    QCoro::waitFor(fixture.viewModel.start(fixture.software()));
    QCoro::waitFor(fixture.viewModel.stop(fixture.software()));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Running);
    QCOMPARE(fixture.scratch.store.loadAll()[u"a"_s].status, SoftwareStatus::Running);
    QCOMPARE(fixture.viewModel.errorMessage(), u"无法执行命令：命令行过长（超过 128 KB）"_s);
}

void tst_SoftwareListViewModel::outputIsLogged()
{
    Fixture fixture({installable()});
    QCoro::waitFor(fixture.viewModel.install(fixture.software()));
    const QDir folder(fixture.scratch.path(u".local/state/vaelix/logs/a"_s));
    const QStringList logs = folder.entryList({u"install-*.log"_s});
    QCOMPARE(logs.size(), 1);
    QCOMPARE(fixture.scratch.read(u".local/state/vaelix/logs/a/"_s + logs.first()),
             ">>> 正在安装 A...\nworking\n\n✅ 安装完成\n");
}

void tst_SoftwareListViewModel::selectionEndsWithTheCatalogEntry()
{
    Fixture fixture({installable(), installable(u"b"_s)});
    fixture.viewModel.setSelectedSoftware(fixture.software());
    fixture.scratch.setCatalog({installable(u"b"_s)});
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.viewModel.selectedSoftware(), nullptr);
    QCOMPARE(fixture.viewModel.filteredModel()->rowCount(), 1);
    QVERIFY(fixture.scratch.store.loadAll().contains(u"a"_s));
}

void tst_SoftwareListViewModel::viewModelMayGoWhileAnOperationRuns()
{
    Scratch scratch;
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = u"sleep 0.2; echo late; touch ~/installed"_s;
    scratch.setCatalog({entry});
    auto viewModel = std::make_unique<SoftwareListViewModel>(scratch.services());
    QCoro::waitFor(viewModel->loadData());
    auto installing = viewModel->install(viewModel->software(u"a"_s));
    auto loading = viewModel->loadData();
    viewModel.reset();
    QCoro::waitFor(std::move(installing));
    QCoro::waitFor(std::move(loading));
    QVERIFY(QFile::exists(scratch.path(u"installed"_s)));
}

QTEST_GUILESS_MAIN(tst_SoftwareListViewModel)
#include "tst_SoftwareListViewModel.moc"
