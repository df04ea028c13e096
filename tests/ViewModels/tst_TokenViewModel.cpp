#include "Platform/Clock.h"
#include "Services/AuthService.h"
#include "Support/Served.h"
#include "Support/Table.h"
#include "ViewModels/TokenViewModel.h"

#include <QCoroTimer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Time that only passes when it is told to.
class ManualClock : public QObject, public Clock
{
    Q_OBJECT

public:
    std::chrono::milliseconds now() const override { return m_now; }

    QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override
    {
        QTimer alarm;
        alarm.setSingleShot(true);
        alarm.start(24h); // until advance() or `stop` sets it to now
        const std::stop_callback wake(stop, [&alarm] { alarm.start(0ms); });
        m_sleepers.append({m_now + duration, &alarm});
        Q_EMIT fellAsleep();
        co_await alarm;
        m_sleepers.removeIf([&alarm](const Sleeper &sleeper) { return sleeper.alarm == &alarm; });
        Q_EMIT wokeUp();
    }

    void advance(std::chrono::milliseconds duration)
    {
        m_now += duration;
        for (const Sleeper &sleeper : m_sleepers)
            if (sleeper.until <= m_now)
                sleeper.alarm->start(0ms);
    }

    /// How many wait now.
    qsizetype sleepers() const { return m_sleepers.size(); }

Q_SIGNALS:
    void fellAsleep();
    void wokeUp();

private:
    struct Sleeper {
        std::chrono::milliseconds until;
        QTimer *alarm;
    };

    std::chrono::milliseconds m_now = 1h;
    QList<Sleeper> m_sleepers;
};

QByteArray balance(int total)
{
    return QByteArray(R"({"totalBalance":%1,"usedToday":1500,"usedThisMonth":2000000})")
        .replace("%1", QByteArray::number(total));
}

QByteArray history(const QByteArrayList &rows)
{
    return R"({"transactions":[)" + rows.join(',') + R"(],"total":1,"page":1,"pageSize":20})";
}

QByteArray transaction(const QByteArray &id, const QByteArray &type = "consume")
{
    return R"({"id":")" + id + R"(","type":")" + type
        + R"(","amount":1500,"balance":98500,"description":"对话","createdAt":"2025-01-02 03:04:05"})";
}

QByteArray order(const QByteArray &number)
{
    return R"({"orderNo":")" + number + R"(","qrUrl":"weixin://pay/)" + number + R"(","amountYuan":39.9})";
}

const TokenPackage &package(int index)
{
    return TokenPackage::mockPackages().at(index);
}

/// A signed-in account on a server that answers as it is told, and the view model over it.
struct Fixture : Served {
    Fixture() { auth.handleCallback(QUrl(u"x-vaelix://callback?token=t&user_id=u"_s)); }
    ~Fixture()
    {
        // What still runs ends here: it would be lost with the clock and the server.
        viewModel.reset();
        awake();
        letAnswersArrive();
        for (const QString &key : {u"auth_token"_s, u"user_id"_s})
            scratch.keychain.remove(key);
    }

    void answerStatus(const QByteArray &orderNo, const QByteArray &status)
    {
        answerData(u"/token/recharge/%1/status"_s.arg(QString::fromUtf8(orderNo)), R"({"status":")" + status + "\"}");
    }

    /// Buys a package with that order number and goes on until the poll sleeps for the first time.
    void buy(const QByteArray &orderNo, int index = 2)
    {
        answerData(u"/token/recharge"_s, order(orderNo), "POST");
        QCoro::waitFor(viewModel->purchase(package(index)));
    }
    /// Lets 2 seconds pass and the poll ask; true when it sleeps again.
    bool pollOnce()
    {
        QSignalSpy asleep(&clock, &ManualClock::fellAsleep);
        clock.advance(2s);
        return asleep.wait();
    }
    /// Waits until nobody sleeps any more.
    bool awake()
    {
        QSignalSpy woke(&clock, &ManualClock::wokeUp);
        return clock.sleepers() == 0 || (woke.wait() && clock.sleepers() == 0);
    }
    /// An exchange like those of the view model, which began earlier and so have ended by then.
    void letAnswersArrive() { QVERIFY(!QCoro::waitFor(scratch.api.get(u"/x"_s, decodeText))); }

    /// The requests for the states of orders, by order number.
    QStringList statusRequests() const
    {
        QStringList orders;
        for (const auto &request : server.requests())
            if (request.path.endsWith(u"/status"_s))
                orders.append(request.path.section(u'/', -2, -2));
        return orders;
    }
    bool isIdle() const
    {
        return !viewModel->isPolling() && !viewModel->showPaymentSheet() && !viewModel->isPurchasing();
    }

    AuthService auth{
        {origin, origin}, scratch.keychain, scratch.defaults, scratch.folders, [](const QStringList &) { }};
    ManualClock clock;
    std::unique_ptr<TokenViewModel> viewModel =
        std::make_unique<TokenViewModel>(TokenViewModel::Services{tokenAPI, auth, clock});
};

} // namespace

class tst_TokenViewModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void load();
    void loadOfWhatFails_data();
    void loadOfWhatFails();
    void failureLaterKeepsWhatWasLoaded();
    void longHistoryAsRows();
    void orderThatFails_data();
    void orderThatFails();
    void paymentThatArrives();
    void closedSheetDoesNotEndTheRefresh();
    void paymentThatNeverArrives();
    void requestThatCrossesTheTimeLimit();
    void endDuringTheSleep_data();
    void endDuringTheSleep();
    void endDuringARequest_data();
    void endDuringARequest();
    void twoOrdersInARow();
    void twoOrdersAtOnce();
    void signOutWhileTheOrderIsCreated();
    void realClock();
};

void tst_TokenViewModel::load()
{
    Fixture fixture;
    TokenViewModel &viewModel = *fixture.viewModel;
    QVERIFY(!viewModel.balance()
            && viewModel.tabTitles() == (QStringList{u"购买套餐"_s, u"消费记录"_s, u"API 接入"_s}));
    fixture.answerData(u"/token/balance"_s, balance(999));
    fixture.answerData(
        u"/token/packages"_s,
        R"([{"id":"a","name":"甲","tokenCount":1,"price":1,"currency":"CNY","isPopular":false,"packageDescription":""}])");
    fixture.answerData(u"/token/transactions"_s, history({transaction("1", "gift"), transaction("2", "bonus")}));
    QSignalSpy loading(&viewModel, &TokenViewModel::isLoadingChanged);
    auto load = viewModel.loadData();
    QVERIFY(viewModel.isLoading());
    QCoro::waitFor(std::move(load));
    QVERIFY(!viewModel.isLoading());
    QCOMPARE(loading.count(), 2);

    TokenBalance *const held = viewModel.balance();
    QCOMPARE(held->userId(), u"default"_s);
    QCOMPARE(held->totalBalanceText() + held->usedTodayText() + held->usedThisMonthText(), u"9991.5K2.0M"_s);
    QCOMPARE(viewModel.packages()->data(viewModel.packages()->index(0), Qt::DisplayRole), u"甲"_s);
    const auto &model = *viewModel.transactions();
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.transactions().first().createdAt, QDateTime(QDate(2025, 1, 2), QTime(3, 4, 5), Qt::UTC));
    const auto amountOf = [&model](int row) { return model.data(model.index(row), TokenTransactionListModel::Amount); };
    QCOMPARE(amountOf(0), u"-1500"_s);
    QCOMPARE(amountOf(1), u"+1500"_s);

    const QDateTime before = QDateTime::currentDateTime();
    fixture.answerData(u"/token/balance"_s, balance(1000));
    QCoro::waitFor(viewModel.loadBalance());
    QCOMPARE(viewModel.balance(), held);
    QCOMPARE(held->totalBalance(), 1000);
    QVERIFY(held->lastUpdated() >= before);
}

void tst_TokenViewModel::loadOfWhatFails_data()
{
    columns<QString, QByteArray>("path", "data");
    for (const char *path : {"/token/balance", "/token/packages", "/token/transactions"})
        for (const char *data : {"null", "7", R"([{"id":"a"}])"})
            QTest::addRow("%s %s", path, data) << QString::fromLatin1(path) << QByteArray(data);
}

void tst_TokenViewModel::loadOfWhatFails()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, data);
    Fixture fixture;
    fixture.answerData(u"/token/balance"_s, balance(7));
    fixture.answerData(u"/token/packages"_s, "[]");
    fixture.answerData(u"/token/transactions"_s, history({transaction("1")}));
    fixture.answerData(path, data);
    QCoro::waitFor(fixture.viewModel->loadData());
    QCOMPARE(fixture.viewModel->balance() == nullptr, path == u"/token/balance"_s);
    QCOMPARE(fixture.viewModel->packages()->packages().size(), path == u"/token/packages"_s ? 4 : 0);
    QCOMPARE(fixture.viewModel->transactions()->isEmpty(), path == u"/token/transactions"_s);
    QCOMPARE(fixture.viewModel->errorMessage(), QString());
    QVERIFY(!fixture.viewModel->isLoading());
}

void tst_TokenViewModel::failureLaterKeepsWhatWasLoaded()
{
    Fixture fixture;
    fixture.answerData(u"/token/balance"_s, balance(7));
    fixture.answerData(u"/token/transactions"_s, history({transaction("1")}));
    QCoro::waitFor(fixture.viewModel->loadData());
    fixture.fail(u"/token/balance"_s, 500);
    fixture.fail(u"/token/transactions"_s, 401);
    QCoro::waitFor(fixture.viewModel->loadData());
    QCOMPARE(fixture.viewModel->balance()->totalBalance(), 7);
    QCOMPARE(fixture.viewModel->transactions()->rowCount(), 1);
    QCOMPARE(fixture.viewModel->errorMessage(), QString());
}

void tst_TokenViewModel::longHistoryAsRows()
{
    constexpr int count = 10'000;
    QByteArrayList rows;
    for (int row = 0; row < count; ++row)
        rows.append(transaction(QByteArray::number(row)));
    Fixture fixture;
    fixture.answerData(u"/token/transactions"_s, history(rows));
    QSignalSpy resets(fixture.viewModel->transactions(), &QAbstractItemModel::modelReset);
    QSignalSpy emptiness(fixture.viewModel->transactions(), &TokenTransactionListModel::isEmptyChanged);
    QCoro::waitFor(fixture.viewModel->loadTransactions());
    QCoro::waitFor(fixture.viewModel->loadTransactions()); // the same again moves no row
    QCOMPARE(resets.count(), 1);
    QCOMPARE(emptiness.count(), 1);

    const auto &model = *fixture.viewModel->transactions();
    QCOMPARE(model.rowCount(), count);
    QMap<QByteArray, QVariant> last;
    for (const auto &[role, name] : model.roleNames().asKeyValueRange())
        last.insert(name, model.data(model.index(count - 1), role));
    const QDateTime time = QDateTime(QDate(2025, 1, 2), QTime(3, 4, 5), Qt::UTC).toLocalTime();
    QCOMPARE(last,
             (QMap<QByteArray, QVariant>{{"timeText", time.toString(u"yyyy-MM-dd HH:mm")},
                                         {"type", int(TransactionType::Consume)},
                                         {"typeText", u"consume"_s},
                                         {"amountText", u"-1500"_s},
                                         {"balanceText", u"98500"_s},
                                         {"descriptionText", u"对话"_s}}));
}

void tst_TokenViewModel::orderThatFails_data()
{
    const auto row = columns<int, QByteArray, QString>("status", "body", "message");
    row("refused", 500, "oops", u"创建订单失败: HTTP 500: oops"_s);
    row("signed out", 401, {}, u"创建订单失败: 认证过期，请重新登录"_s);
    row("no data", 200, envelope("null"), u"创建订单失败: 无效的服务器响应"_s);
    row("no number", 200, envelope(R"({"qrUrl":"","amountYuan":1})"),
        u"创建订单失败: 数据解析错误: 字段 “data” 字段 “orderNo” 缺失"_s);
}

void tst_TokenViewModel::orderThatFails()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Fixture fixture;
    fixture.answer(u"/token/recharge"_s, body, status, "POST");
    QCoro::waitFor(fixture.viewModel->purchase(package(0)));
    QTEST(fixture.viewModel->errorMessage(), "message");
    QVERIFY(fixture.isIdle());
    QCOMPARE(fixture.clock.sleepers(), 0);

    fixture.buy("N");
    QCOMPARE(fixture.viewModel->errorMessage(), QString());
}

void tst_TokenViewModel::paymentThatArrives()
{
    Fixture fixture;
    TokenViewModel &viewModel = *fixture.viewModel;
    fixture.answerData(u"/token/recharge"_s, order("N"), "POST");
    auto purchase = viewModel.purchase(package(2));
    QVERIFY(viewModel.isPurchasing() && !viewModel.showPaymentSheet());
    QCoro::waitFor(std::move(purchase));
    QVERIFY(!viewModel.isPurchasing() && viewModel.showPaymentSheet() && viewModel.isPolling());
    QCOMPARE(fixture.server.requests().last().body, R"({"packageId":"pro"})");
    QCOMPARE(viewModel.paymentQRUrl(), u"weixin://pay/N"_s);
    QCOMPARE(viewModel.paymentAmountText(), u"¥ 39.90"_s);
    QCOMPARE(viewModel.paymentPackageName(), u"专业版"_s);

    fixture.clock.advance(1999ms);
    fixture.letAnswersArrive();
    QCOMPARE(fixture.statusRequests(), QStringList());
    for (const char *notYet : {"pending", "PAID", " paid", ""}) {
        fixture.answerStatus("N", notYet);
        QVERIFY(fixture.pollOnce());
    }
    for (const int failure : {500, 401}) {
        fixture.fail(u"/token/recharge/N/status"_s, failure);
        QVERIFY(fixture.pollOnce());
    }
    QVERIFY(viewModel.isPolling() && viewModel.showPaymentSheet());

    fixture.answerStatus("N", "paid");
    fixture.answerData(u"/token/balance"_s, balance(2'000'000));
    fixture.answerData(u"/token/transactions"_s, history({transaction("1", "purchase")}));
    QSignalSpy refreshed(viewModel.transactions(), &QAbstractItemModel::modelReset);
    fixture.clock.advance(2s);
    QVERIFY(refreshed.wait());
    QVERIFY(fixture.isIdle());
    QCOMPARE(viewModel.successMessage(), u"专业版 已到账"_s);
    QCOMPARE(viewModel.errorMessage(), QString());
    QCOMPARE(viewModel.balance()->totalBalanceText(), u"2.0M"_s);
    QCOMPARE(fixture.statusRequests().size(), 7);
    QCOMPARE(fixture.clock.sleepers(), 0);
    viewModel.dismissMessages();
    QCOMPARE(viewModel.successMessage(), QString());
}

void tst_TokenViewModel::closedSheetDoesNotEndTheRefresh()
{
    Fixture fixture;
    TokenViewModel &viewModel = *fixture.viewModel;
    connect(&viewModel, &TokenViewModel::showPaymentSheetChanged, &viewModel, [&viewModel] {
        if (!viewModel.showPaymentSheet())
            viewModel.stopPolling(); // as a sheet does when it closes
    });
    fixture.buy("N");
    fixture.answerStatus("N", "paid");
    fixture.answerData(u"/token/balance"_s, balance(5));
    QSignalSpy refreshed(&viewModel, &TokenViewModel::balanceChanged);
    fixture.clock.advance(2s);
    QVERIFY(refreshed.wait());
    QCOMPARE(viewModel.successMessage(), u"专业版 已到账"_s);
}

void tst_TokenViewModel::paymentThatNeverArrives()
{
    Fixture fixture;
    fixture.answerStatus("N", "pending");
    fixture.buy("N");
    for (int second = 2; second <= 300; second += 2)
        QVERIFY2(fixture.pollOnce(), qPrintable(QString::number(second)));
    QVERIFY(fixture.viewModel->isPolling());

    QSignalSpy gaveUp(fixture.viewModel.get(), &TokenViewModel::errorMessageChanged);
    fixture.clock.advance(2s);
    QVERIFY(gaveUp.wait());
    QCOMPARE(fixture.viewModel->errorMessage(), u"支付超时，请重新购买"_s);
    QVERIFY(fixture.isIdle());
    QCOMPARE(fixture.clock.sleepers(), 0);
    QCOMPARE(fixture.statusRequests().size(), 151);

    fixture.buy("M");
    QCOMPARE(fixture.viewModel->errorMessage(), QString());
    QVERIFY(fixture.pollOnce());
}

void tst_TokenViewModel::requestThatCrossesTheTimeLimit()
{
    Fixture fixture;
    fixture.buy("N");
    fixture.answerStatus("N", "paid");
    // The machine was suspended while the poll slept: it asks once more before it gives up.
    QSignalSpy closed(fixture.viewModel.get(), &TokenViewModel::showPaymentSheetChanged);
    fixture.clock.advance(1h);
    QVERIFY(closed.wait());
    QCOMPARE(fixture.viewModel->successMessage(), u"专业版 已到账"_s);
    QCOMPARE(fixture.viewModel->errorMessage(), QString());
}

using End = void (*)(Fixture &);
Q_DECLARE_METATYPE(End)

/// Every way a poll ends without a result.
static void endings()
{
    const auto row = columns<End>("end");
    row("stop", End([](Fixture &fixture) { fixture.viewModel->stopPolling(); }));
    row("close the sheet", End([](Fixture &fixture) { fixture.viewModel->setShowPaymentSheet(false); }));
    row("sign out", End([](Fixture &fixture) { fixture.auth.logout(); }));
    row("leave the screen", End([](Fixture &fixture) { fixture.viewModel.reset(); }));
}

void tst_TokenViewModel::endDuringTheSleep_data()
{
    endings();
}

void tst_TokenViewModel::endDuringTheSleep()
{
    QFETCH(End, end);
    Fixture fixture;
    fixture.buy("N");
    QCOMPARE(fixture.clock.sleepers(), 1);
    end(fixture);
    if (fixture.viewModel)
        QVERIFY(!fixture.viewModel->isPolling());
    QVERIFY(fixture.awake());
    fixture.clock.advance(301s);
    fixture.letAnswersArrive();
    QCOMPARE(fixture.statusRequests(), QStringList());
    QCOMPARE(fixture.clock.sleepers(), 0);
    if (fixture.viewModel)
        QCOMPARE(fixture.viewModel->errorMessage() + fixture.viewModel->successMessage(), QString());
}

void tst_TokenViewModel::endDuringARequest_data()
{
    endings();
}

void tst_TokenViewModel::endDuringARequest()
{
    QFETCH(End, end);
    Fixture fixture;
    fixture.buy("N");
    fixture.answerStatus("N", "paid");
    QSignalSpy asked(&fixture.server, &devserver::DevServer::requestRecorded);
    const auto atRequest = connect(&fixture.server, &devserver::DevServer::requestRecorded, this, [&] {
        if (fixture.server.requests().last().path.endsWith(u"/status"_s))
            end(fixture);
    });
    fixture.clock.advance(2s);
    QVERIFY(asked.wait());
    disconnect(atRequest);
    fixture.letAnswersArrive();
    QCOMPARE(fixture.statusRequests(), QStringList{u"N"_s});
    QCOMPARE(fixture.clock.sleepers(), 0);
    if (!fixture.viewModel)
        return;
    QVERIFY(!fixture.viewModel->isPolling());
    QCOMPARE(fixture.viewModel->errorMessage() + fixture.viewModel->successMessage(), QString());
    QVERIFY(!fixture.viewModel->balance());
}

void tst_TokenViewModel::twoOrdersInARow()
{
    Fixture fixture;
    fixture.answerStatus("N", "paid");
    fixture.answerStatus("M", "pending");
    fixture.buy("N", 0);
    fixture.buy("M", 1);
    QVERIFY(fixture.viewModel->isPolling());
    QSignalSpy woke(&fixture.clock, &ManualClock::wokeUp);
    QVERIFY(fixture.clock.sleepers() == 1 || woke.wait());
    QCOMPARE(fixture.clock.sleepers(), 1);
    QVERIFY(fixture.pollOnce());
    QVERIFY(fixture.pollOnce());
    QCOMPARE(fixture.statusRequests(), (QStringList{u"M"_s, u"M"_s}));
    QCOMPARE(fixture.viewModel->paymentPackageName(), u"标准版"_s);
    QCOMPARE(fixture.clock.sleepers(), 1);
}

void tst_TokenViewModel::twoOrdersAtOnce()
{
    Fixture fixture;
    // The answer about the first one comes last.
    connect(&fixture.server, &devserver::DevServer::requestRecorded, this, [&fixture] {
        const bool isFirst = fixture.server.requests().last().body.contains("basic");
        fixture.server.faults().set(
            "POST", u"/api/v1/token/recharge"_s,
            {.delay = isFirst ? 50ms : 0ms, .status = 200, .body = envelope(order(isFirst ? "N" : "M"))});
    });
    auto first = fixture.viewModel->purchase(package(0));
    auto second = fixture.viewModel->purchase(package(1));
    QCoro::waitFor(std::move(second));
    QVERIFY(!first.isReady());
    QCoro::waitFor(std::move(first));
    QVERIFY(!fixture.viewModel->isPurchasing() && fixture.viewModel->isPolling());
    QCOMPARE(fixture.viewModel->paymentOrderNo() + fixture.viewModel->paymentPackageName(), u"M标准版"_s);
    QCOMPARE(fixture.clock.sleepers(), 1);
}

void tst_TokenViewModel::signOutWhileTheOrderIsCreated()
{
    Fixture fixture;
    fixture.answerData(u"/token/recharge"_s, order("N"), "POST");
    auto purchase = fixture.viewModel->purchase(package(0));
    fixture.auth.logout();
    QCoro::waitFor(std::move(purchase));
    QVERIFY(fixture.isIdle());
    QCOMPARE(fixture.clock.sleepers(), 0);

    auto left = fixture.viewModel->purchase(package(0));
    fixture.viewModel.reset();
    QCoro::waitFor(std::move(left));
    QCOMPARE(fixture.clock.sleepers(), 0);
}

void tst_TokenViewModel::realClock()
{
    Clock clock;
    const auto start = clock.now();
    QCoro::waitFor(clock.sleep(20ms, {}));
    QVERIFY(clock.now() - start >= 19ms);
    std::stop_source stop;
    auto sleep = clock.sleep(24h, stop.get_token());
    stop.request_stop();
    QCoro::waitFor(std::move(sleep));
    QCoro::waitFor(clock.sleep(24h, stop.get_token()));
}

QTEST_GUILESS_MAIN(tst_TokenViewModel)
#include "tst_TokenViewModel.moc"
