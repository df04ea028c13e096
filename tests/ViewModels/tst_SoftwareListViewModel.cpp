#include "Support/Scratch.h"

#include <QSignalSpy>

using namespace std::chrono_literals;

namespace {

const QString openClaw = QStringLiteral("openclaw");

/// For ~/.zprofile: the line that ends a former gateway kills by name, which no test may do.
const QByteArray keepKillsToTheTest = "pkill() { print -r - $* >> ~/killed }\n";

/// A scratch home, a catalog of its own and the view model over it.
struct Fixture {
    explicit Fixture(const SoftwareCatalog::Entries &entries)
    {
        scratch.setCatalog(entries);
        QCoro::waitFor(viewModel.loadData());
    }

    AISoftware *software(const QString &id = QStringLiteral("a")) { return viewModel.software(id); }
    QByteArray output() { return viewModel.terminalOutput()->text(); }

    Scratch scratch;
    SoftwareListViewModel viewModel{scratch.services()};
};

/// An entry that is installed while the file ~/installed exists.
SoftwareCatalogEntry installable(const QString &id = QStringLiteral("a"))
{
    SoftwareCatalogEntry entry = testEntry(id);
    entry.detectCommand = QStringLiteral("ls ~/installed");
    entry.installCommand = QStringLiteral("touch ~/installed && echo working");
    entry.uninstallCommand = QStringLiteral("rm ~/installed");
    return entry;
}

} // namespace

class tst_SoftwareListViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void catalogFallsBack_data();
    void catalogFallsBack();
    void installThenUninstall();
    void secondRunRemembers();
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
    void selectionEndsWithTheCatalogEntry();
    void userSwitchNoticeShowsOnce();
    void viewModelMayGoWhileAnOperationRuns();
};

void tst_SoftwareListViewModel::catalogFallsBack_data()
{
    QTest::addColumn<QByteArray>("resource");
    QTest::addColumn<QStringList>("ids");
    const QStringList builtIn{openClaw, QStringLiteral("hermes")};
    const QByteArray good = SoftwareCatalog::encode({testEntry(QStringLiteral("a")), testEntry(QStringLiteral("b"))});
    QTest::newRow("resource") << good << QStringList{QStringLiteral("a"), QStringLiteral("b")};
    QTest::newRow("no resource") << QByteArray() << builtIn;
    QTest::newRow("one bad entry") << QByteArray(good).replace("\"name\":\"B\"", "\"name\":7") << builtIn;
    QTest::newRow("broken JSON") << good.chopped(3) << builtIn;
}

void tst_SoftwareListViewModel::catalogFallsBack()
{
    QFETCH(QByteArray, resource);
    Scratch scratch;
    if (!resource.isEmpty())
        scratch.write(QStringLiteral("Contents/Resources/SoftwareCatalog.json"), resource);
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
    fixture.scratch.write(QStringLiteral(".zprofile"),
                          "openclaw() { echo 'OpenClaw 2026.7.35 (aa94808)' }\n" + keepKillsToTheTest);
    // Without the gateway's program its start ends by itself.
    QCoro::waitFor(fixture.viewModel.install(fixture.software(openClaw)));
    QCOMPARE(fixture.software(openClaw)->version(), QStringLiteral("OpenClaw 2026.7.35 (aa94808)"));

    SoftwareStore store(fixture.scratch.defaults);
    store.merge({installable(openClaw)});
    const AISoftware *const remembered = store.software(openClaw);
    QCOMPARE(remembered->status(), SoftwareStatus::Installed);
    QCOMPARE(remembered->version(), QStringLiteral("OpenClaw 2026.7.35 (aa94808)"));
    QCOMPARE(remembered->installedAt(), fixture.software(openClaw)->installedAt());
}

void tst_SoftwareListViewModel::failures_data()
{
    QTest::addColumn<QString>("installCommand");
    QTest::addColumn<QString>("dependency");
    QTest::addColumn<QString>("errorMessage");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output");
    const int untouched = SoftwareStatus::NotInstalled;
    QTest::newRow("no command") << "" << "" << "未配置安装命令" << untouched << QByteArray();
    QTest::newRow("missing dependency") << "true" << "absent" << "缺少依赖: ABSENT，请先安装" << untouched
                                        << QByteArray();
    QTest::newRow("exit status 2") << "exit 2" << "" << "安装失败，退出码: 2" << int(SoftwareStatus::Error)
                                   << QByteArray(">>> 正在安装 A...\n\n❌ 安装失败 (exit code: 2)\n");
    QTest::newRow("cannot be started") << QStringLiteral("true") + QString(200'000, u' ') << ""
                                       << "无法执行命令：命令行过长（超过 128 KB）" << int(SoftwareStatus::Installing)
                                       << QByteArray(">>> 正在安装 A...\n");
}

void tst_SoftwareListViewModel::failures()
{
    QFETCH(QString, installCommand);
    QFETCH(QString, dependency);
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = installCommand;
    entry.dependencies = {dependency};
    Fixture fixture({entry, testEntry(QStringLiteral("absent"))});
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
    entry.version = QStringLiteral("2.0");
    entry.upgradeCommand = QStringLiteral("echo upgrading");
    Fixture fixture({entry});
    QVERIFY(fixture.software()->latestVersion.isEmpty());
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.software()->latestVersion, QStringLiteral("2.0"));
    QCoro::waitFor(fixture.viewModel.upgrade(fixture.software()));
    QCOMPARE(fixture.software()->version(), QStringLiteral("2.0"));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::offeredUpgrade_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("latestVersion");
    QTest::addColumn<QString>("upgradeCommand");
    QTest::addColumn<bool>("isOffered");
    QTest::newRow("same") << "0.5.7" << "0.5.7" << "u" << false;
    QTest::newRow("whole output line") << "ollama version is 0.5.7" << "0.5.7" << "u" << false;
    QTest::newRow("another") << "0.6.0" << "0.5.7" << "u" << true;
    QTest::newRow("no command") << "0.5.0" << "0.5.7" << "" << false;
    QTest::newRow("local unknown") << "" << "0.5.7" << "u" << false;
    QTest::newRow("latest unknown") << "0.5.7" << "" << "u" << false;
}

void tst_SoftwareListViewModel::offeredUpgrade()
{
    QFETCH(QString, version);
    QFETCH(QString, latestVersion);
    QFETCH(QString, upgradeCommand);
    Scratch scratch;
    const SoftwareListViewModel viewModel(scratch.services());
    AISoftware software(QStringLiteral("a"));
    software.setVersion(version);
    software.latestVersion = latestVersion;
    software.upgradeCommand = upgradeCommand;
    QTEST(viewModel.hasUpgrade(&software), "isOffered");
}

void tst_SoftwareListViewModel::startAndStop()
{
    SoftwareCatalogEntry entry = installable();
    entry.startCommand = QStringLiteral("echo serving; sleep 0.2; echo served");
    entry.stopCommand = QStringLiteral("touch ~/stopped");
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
    QCOMPARE(fixture.scratch.store.loadAll()[QStringLiteral("a")].status, SoftwareStatus::Stopped);

    fixture.scratch.write(QStringLiteral("installed"), {});
    QCoro::waitFor(fixture.viewModel.detectAllStatus());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::cancellingEndsTheProgramAndKeepsTheWindowIdle()
{
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = QStringLiteral("echo begun; sleep 30; touch ~/installed");
    Fixture fixture({entry});
    auto installing = fixture.viewModel.install(fixture.software());
    QTRY_VERIFY(fixture.output().contains("begun"));
    fixture.viewModel.cancelInstall(fixture.software());
    QVERIFY(!fixture.viewModel.isOperating());
    QCOMPARE(fixture.output(), ">>> 正在安装 A...\nbegun\n\n⚠️ 已取消\n");
    QCoro::waitFor(std::move(installing));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
    QCOMPARE(fixture.scratch.store.loadAll()[QStringLiteral("a")].status, SoftwareStatus::NotInstalled);
    QVERIFY(!fixture.scratch.shell.currentStreamingProcess);
}

void tst_SoftwareListViewModel::cancelledOperationDoesNotEndTheNext()
{
    SoftwareCatalogEntry slow = installable();
    slow.installCommand = QStringLiteral("trap 'sleep 0.3; exit 1' TERM; echo begun; sleep 30");
    SoftwareCatalogEntry next = installable(QStringLiteral("b"));
    next.installCommand = QStringLiteral("until [ -e ~/go ]; do sleep 0.05; done; touch ~/installed");
    Fixture fixture({slow, next});
    auto first = fixture.viewModel.install(fixture.software());
    QTRY_VERIFY(fixture.output().contains("begun"));
    fixture.viewModel.cancelInstall(fixture.software());
    auto second = fixture.viewModel.install(fixture.software(QStringLiteral("b")));
    QCoro::waitFor(std::move(first));
    QVERIFY(fixture.viewModel.isOperating());
    fixture.scratch.write(QStringLiteral("go"), {});
    QCoro::waitFor(std::move(second));
    QVERIFY(!fixture.viewModel.isOperating());
    QCOMPARE(fixture.software(QStringLiteral("b"))->status(), SoftwareStatus::Installed);
    QCOMPARE(fixture.software()->status(), SoftwareStatus::NotInstalled);
}

void tst_SoftwareListViewModel::openClawGatewayComesUpAfterInstall()
{
    Fixture fixture({installable(openClaw)});
    fixture.scratch.write(QStringLiteral(".zprofile"), keepKillsToTheTest);
    fixture.scratch.write(QStringLiteral(".openclaw/bin/openclaw"), "#!/bin/sh\necho gateway $1 is up\n");
    QVERIFY(QFile::setPermissions(fixture.scratch.path(QStringLiteral(".openclaw/bin/openclaw")),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    QCoro::waitFor(fixture.viewModel.install(fixture.software(openClaw)));
    QCOMPARE(fixture.scratch.read(QStringLiteral("killed")), "-f openclaw-gateway\n-x openclaw\n");
    QTRY_COMPARE(fixture.output(), ">>> 启动 OpenClaw Gateway...\ngateway gateway is up\n");
}

void tst_SoftwareListViewModel::configure_data()
{
    QTest::addColumn<QString>("configCommand");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("errorMessage");
    QTest::newRow("none") << "" << QByteArray() << "该软件没有配置命令";
    QTest::newRow("done")
        << "mkdir ~/.openclaw && echo \"<$QUENDA_API_KEY> $QUENDA_API_URL\" > ~/.openclaw/openclaw.json"
        << QByteArray(">>> 执行配置 (已注入 API 凭据)\n\n✅ 配置完成\n") << QString();
    QTest::newRow("fails") << "exit 9" << QByteArray(">>> 执行配置 (已注入 API 凭据)\n\n❌ 配置失败 (exit code: 9)\n")
                           << "配置脚本执行失败";
    QTest::newRow("cannot be started") << QString(
        200'000,
        u':') << QByteArray(">>> 执行配置 (已注入 API 凭据)\n❌ 执行失败: 无法执行命令：命令行过长（超过 128 KB）\n")
                                       << "无法执行命令：命令行过长（超过 128 KB）";
}

void tst_SoftwareListViewModel::configure()
{
    QFETCH(QString, configCommand);
    SoftwareCatalogEntry entry = installable(openClaw);
    entry.configCommand = configCommand;
    Fixture fixture({entry});
    QCoro::waitFor(fixture.viewModel.configure(fixture.software(openClaw)));
    QTEST(fixture.output(), "output");
    QTEST(fixture.viewModel.errorMessage(), "errorMessage");
    QVERIFY(!fixture.viewModel.isOperating());
    const bool isDone = fixture.viewModel.errorMessage().isEmpty();
    QCOMPARE(fixture.viewModel.configuredSoftwareIds(), isDone ? QStringList{openClaw} : QStringList());
    if (isDone)
        QCOMPARE(fixture.scratch.read(QStringLiteral(".openclaw/openclaw.json")), "<> https://api.vaelix.example/v1\n");
}

void tst_SoftwareListViewModel::configurationMarks()
{
    Fixture fixture({installable()});
    fixture.scratch.write(QStringLiteral(".hermes/config.yaml"), "x");
    fixture.viewModel.checkConfigStatus();
    QCOMPARE(fixture.viewModel.configuredSoftwareIds(), QStringList{QStringLiteral("hermes")});
    QFile::remove(fixture.scratch.path(QStringLiteral(".hermes/config.yaml")));
    QCoro::waitFor(fixture.viewModel.uninstall(fixture.software()));
    QVERIFY(fixture.viewModel.configuredSoftwareIds().isEmpty());
}

void tst_SoftwareListViewModel::filter_data()
{
    QTest::addColumn<QString>("searchText");
    QTest::addColumn<int>("category");
    QTest::addColumn<QStringList>("names");
    const int all = SoftwareListViewModel::allCategories;
    QTest::newRow("nothing asked") << "" << all
                                   << QStringList{QStringLiteral("Ollama"), QStringLiteral("Élan"),
                                                  QStringLiteral("画图")};
    QTest::newRow("any case") << "OLLAMA" << all << QStringList{QStringLiteral("Ollama")};
    QTest::newRow("any case beyond ASCII") << "élAN" << all << QStringList{QStringLiteral("Élan")};
    QTest::newRow("description only") << "本地模型" << all
                                      << QStringList{QStringLiteral("Ollama"), QStringLiteral("画图")};
    QTest::newRow("white space is not trimmed") << " Ollama" << all << QStringList();
    QTest::newRow("category") << "" << int(SoftwareCategory::Model) << QStringList{QStringLiteral("画图")};
    QTest::newRow("both") << "ollama" << int(SoftwareCategory::Model) << QStringList();
}

void tst_SoftwareListViewModel::filter()
{
    QFETCH(QString, searchText);
    QFETCH(int, category);
    SoftwareCatalog::Entries entries{testEntry(QStringLiteral("a")), testEntry(QStringLiteral("b")),
                                     testEntry(QStringLiteral("c"))};
    entries[0].name = QStringLiteral("Ollama");
    entries[0].description = entries[2].description = QStringLiteral("运行本地模型");
    entries[1].name = QStringLiteral("Élan");
    entries[2].name = QStringLiteral("画图");
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
    entry.installCommand = QStringLiteral("sleep 0.5; touch ~/installed");
    Fixture fixture({entry});
    auto installing = fixture.viewModel.install(fixture.software());
    QCoro::waitFor(fixture.viewModel.detectAllStatus());
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installing);
    QCoro::waitFor(std::move(installing));
    QCOMPARE(fixture.software()->status(), SoftwareStatus::Installed);
}

void tst_SoftwareListViewModel::selectionEndsWithTheCatalogEntry()
{
    Fixture fixture({installable(), installable(QStringLiteral("b"))});
    fixture.viewModel.setSelectedSoftware(fixture.software());
    fixture.scratch.setCatalog({installable(QStringLiteral("b"))});
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.viewModel.selectedSoftware(), nullptr);
    QCOMPARE(fixture.viewModel.filteredModel()->rowCount(), 1);
    QVERIFY(fixture.scratch.store.loadAll().contains(QStringLiteral("a")));
}

void tst_SoftwareListViewModel::userSwitchNoticeShowsOnce()
{
    Fixture fixture({installable()});
    QVERIFY(!fixture.viewModel.showUserSwitchedAlert());
    fixture.scratch.defaults.setTrue(QStringLiteral("needsReconfigureSoftware"), true);
    QCoro::waitFor(fixture.viewModel.loadData());
    QVERIFY(fixture.viewModel.showUserSwitchedAlert());
    QVERIFY(!fixture.scratch.defaults.isTrue(QStringLiteral("needsReconfigureSoftware")));
}

void tst_SoftwareListViewModel::viewModelMayGoWhileAnOperationRuns()
{
    Scratch scratch;
    SoftwareCatalogEntry entry = installable();
    entry.installCommand = QStringLiteral("sleep 0.2; echo late; touch ~/installed");
    scratch.setCatalog({entry});
    auto viewModel = std::make_unique<SoftwareListViewModel>(scratch.services());
    QCoro::waitFor(viewModel->loadData());
    auto installing = viewModel->install(viewModel->software(QStringLiteral("a")));
    auto loading = viewModel->loadData();
    viewModel.reset();
    QCoro::waitFor(std::move(installing));
    QCoro::waitFor(std::move(loading));
    QVERIFY(QFile::exists(scratch.path(QStringLiteral("installed"))));
}

QTEST_GUILESS_MAIN(tst_SoftwareListViewModel)
#include "tst_SoftwareListViewModel.moc"
