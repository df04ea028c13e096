#include "Support/Served.h"
#include "ViewModels/DashboardViewModel.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString root = u"/api/v1"_s;
const QString balancePath = u"/token/balance"_s;
const QString usagePath = u"/token/usage/weekly"_s;

struct Fixture : Served {
    void load() { QCoro::waitFor(viewModel.loadData()); }

    /// The chart's bars, each as "date count height".
    QStringList bars()
    {
        QStringList bars;
        const auto &model = *viewModel.weeklyUsage();
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto text = [&](int role) { return model.data(model.index(row), role).toString(); };
            bars.append(text(DashboardUsageModel::Date) + u' ' + text(DashboardUsageModel::Count) + u' '
                        + text(DashboardUsageModel::BarHeight));
        }
        return bars;
    }

    DashboardViewModel viewModel{DashboardViewModel::Services{scratch.store, tokenAPI}};
};

} // namespace

class tst_DashboardViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void softwareCounts();
    void softwareThatLeavesTheStore();
    void tokenFigures();
    void usage_data();
    void usage();
    void usageThatFailsIsNone();
    void countsFollowTheStoreWhileALoadIsUnderWay();
    void requestsFollowEachOther();
    void viewModelMayGoWhileItLoads();
};

void tst_DashboardViewModel::softwareCounts()
{
    Fixture fixture;
    fixture.load();
    QCOMPARE(fixture.viewModel.softwareList()->rowCount(), 0);
    QCOMPARE(fixture.viewModel.installedCount() + fixture.viewModel.runningCount(), 0);

    SoftwareCatalog::Entries entries;
    for (int status = SoftwareStatus::NotInstalled; status <= SoftwareStatus::Error; ++status)
        entries.append(testEntry(QString::number(status)));
    fixture.scratch.store.merge(entries);
    for (AISoftware *const software : fixture.scratch.store.softwareList())
        software->setStatus(SoftwareStatus::Value(software->id().toInt()));
    fixture.load();
    QCOMPARE(fixture.viewModel.softwareList()->software(), fixture.scratch.store.softwareList());
    QCOMPARE(fixture.viewModel.installedCount(), SoftwareStatus::Error);
    QCOMPARE(fixture.viewModel.runningCount(), 1);
}

void tst_DashboardViewModel::softwareThatLeavesTheStore()
{
    Fixture fixture;
    fixture.scratch.store.merge({testEntry(u"a"_s), testEntry(u"b"_s), testEntry(u"c"_s)});
    fixture.load();
    fixture.load();
    fixture.scratch.store.merge({testEntry(u"b"_s)});
    QCOMPARE(fixture.viewModel.softwareList()->software(), fixture.scratch.store.softwareList());
}

void tst_DashboardViewModel::tokenFigures()
{
    Fixture fixture;
    const auto figures = [&fixture] {
        fixture.load();
        return fixture.viewModel.tokenBalanceText() + u' ' + fixture.viewModel.usedTodayText();
    };
    QCOMPARE(figures(), u"0 0"_s);
    fixture.answerData(balancePath, R"({"totalBalance":256800,"usedToday":999,"usedThisMonth":1})");
    QCOMPARE(figures(), u"256.8K 999"_s);
    for (const char *data : {"null", "{}", R"({"totalBalance":1,"usedToday":1.5,"usedThisMonth":1})"}) {
        fixture.answerData(balancePath, data);
        QCOMPARE(figures(), u"256.8K 999"_s);
    }
    fixture.fail(balancePath, 401);
    QCOMPARE(figures(), u"256.8K 999"_s);
    fixture.answerData(balancePath, R"({"totalBalance":1500000,"usedToday":1000,"usedThisMonth":1})");
    QCOMPARE(figures(), u"1.5M 1.0K"_s);
}

void tst_DashboardViewModel::usage_data()
{
    QTest::addColumn<QByteArray>("items"); // date and tokens
    QTest::addColumn<QStringList>("bars");
    const auto row = [](const char *name, const QByteArrayList &items, const QStringList &bars) {
        QTest::newRow(name) << items.join(' ') << bars;
    };
    row("none", {}, {});
    row("heights from 4 to 140", {"2025-01-09 7000", "2025-01-08 14000", "2025-01-07 1", "2025-01-06 0"},
        {u"01/09 7000 70"_s, u"01/08 14000 140"_s, u"01/07 1 4"_s, u"01/06 0 4"_s});
    row("nothing used", {"2024-12-31 0", "2025-01-01 0"}, {u"12/31 0 4"_s, u"01/01 0 4"_s});
    row("below nothing", {"2025-01-01 -5", "2025-01-02 -10"}, {u"01/01 -5 4"_s, u"01/02 -10 4"_s});
    row("what is no date is dropped, and its count with it",
        {"2025-13-40 99999", "2025-1-2 9", "2025-02-29 9", "20250103 9", "2025-01-04 2", "x 9"}, {u"01/04 2 140"_s});
}

void tst_DashboardViewModel::usage()
{
    QFETCH(QByteArray, items);
    QByteArrayList data;
    const auto words = items.isEmpty() ? QByteArrayList() : items.split(' ');
    for (qsizetype word = 0; word < words.size(); word += 2)
        data.append(R"({"date":")" + words[word] + R"(","tokens":)" + words[word + 1] + '}');
    Fixture fixture;
    fixture.answerData(usagePath, '[' + data.join(',') + ']');
    fixture.load();
    QTEST(fixture.bars(), "bars");
}

void tst_DashboardViewModel::usageThatFailsIsNone()
{
    Fixture fixture;
    QSignalSpy emptiness(fixture.viewModel.weeklyUsage(), &DashboardUsageModel::isEmptyChanged);
    for (const char *data : {"null", R"([{"date":"2025-01-01"}])", R"([{"date":"2025-01-01","tokens":"1"}])"}) {
        fixture.answerData(usagePath, R"([{"date":"2025-01-01","tokens":1}])");
        fixture.load();
        QVERIFY(!fixture.viewModel.weeklyUsage()->isEmpty());
        fixture.answerData(usagePath, data);
        fixture.load();
        QCOMPARE(fixture.bars(), QStringList());
    }
    QCOMPARE(emptiness.count(), 6);
}

void tst_DashboardViewModel::countsFollowTheStoreWhileALoadIsUnderWay()
{
    Fixture fixture;
    auto first = fixture.viewModel.loadData();
    QVERIFY(fixture.viewModel.isLoading());
    fixture.scratch.store.merge({testEntry(u"a"_s), testEntry(u"b"_s)});
    AISoftware *const software = fixture.scratch.store.software(u"a"_s);
    software->setStatus(SoftwareStatus::Running);
    fixture.scratch.store.save(*software);
    QCOMPARE(fixture.viewModel.softwareList()->rowCount(), 2);
    QCOMPARE(fixture.viewModel.installedCount(), 1);
    QCOMPARE(fixture.viewModel.runningCount(), 1);
    // Shown again meanwhile: counted, but the server is not asked a second time.
    software->setStatus(SoftwareStatus::NotInstalled);
    QCoro::waitFor(fixture.viewModel.loadData());
    QCOMPARE(fixture.viewModel.installedCount(), 0);
    QVERIFY(fixture.viewModel.isLoading());
    QCoro::waitFor(std::move(first));
    QCOMPARE(fixture.server.requests().size(), 2);
}

void tst_DashboardViewModel::requestsFollowEachOther()
{
    Fixture fixture;
    auto load = fixture.viewModel.loadData();
    QVERIFY(fixture.viewModel.isLoading());
    QStringList during;
    connect(&fixture.viewModel, &DashboardViewModel::statsChanged, this, [&] { during.append(u"balance"_s); });
    connect(&fixture.server, &devserver::DevServer::requestRecorded, this,
            [&] { during.append(fixture.server.requests().last().path); });
    fixture.answerData(balancePath, R"({"totalBalance":1,"usedToday":1,"usedThisMonth":1})");
    QCoro::waitFor(std::move(load));
    QCOMPARE(during, (QStringList{root + balancePath, u"balance"_s, root + usagePath}));
    QVERIFY(!fixture.viewModel.isLoading());
}

void tst_DashboardViewModel::viewModelMayGoWhileItLoads()
{
    Fixture fixture;
    auto viewModel =
        std::make_unique<DashboardViewModel>(DashboardViewModel::Services{fixture.scratch.store, fixture.tokenAPI});
    auto load = viewModel->loadData();
    viewModel.reset();
    QCoro::waitFor(std::move(load));
    QCOMPARE(fixture.server.requests().size(), 1);
}

QTEST_GUILESS_MAIN(tst_DashboardViewModel)
#include "tst_DashboardViewModel.moc"
