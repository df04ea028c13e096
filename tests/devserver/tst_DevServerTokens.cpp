#include "Client.h"
#include "History.h"
#include "Seed.h"
#include "Support/Table.h"

#include <QRegularExpression>
#include <QSet>

using namespace Qt::StringLiterals;
using namespace devserver;

namespace {

const QDateTime Noon(QDate(2025, 3, 5), QTime(12, 0));

Booking booking(EntryType type, qint64 amount, const QDateTime &time)
{
    return {.type = type, .amount = amount, .description = u"说明"_s, .time = time};
}

/// Whether amounts and balances of a whole history, the newest entry first, fit together.
bool addsUp(const JSON &transactions)
{
    qint64 balance = 0;
    for (auto entry = transactions.rbegin(); entry != transactions.rend(); ++entry) {
        const qint64 amount = (*entry)["amount"].get<qint64>();
        balance += (*entry)["type"] == "consume" ? -amount : amount;
        if (amount < 0 || balance < 0 || (*entry)["balance"] != balance)
            return false;
    }
    return true;
}

} // namespace

class tst_DevServerTokens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyRouteWantsAToken();
    void balanceCountsDayAndMonthInLocalTime();
    void weeklyUsageHasAnEntryForEveryDay();
    void transactionsTravelWithTheKeysOfTheClient();
    void transactionsComeByPages_data();
    void transactionsComeByPages();
    void madeUpHistoryIsBelievable_data();
    void madeUpHistoryIsBelievable();
    void embeddedAccountsStartWithTokens();
    void controlFillsAndBalancesOneAccount();
    void packagesTravelWithTheKeysOfTheClient();
    void paidOrderBringsItsTokensOnce();
    void orderMeetsItsFate_data();
    void orderMeetsItsFate();
    void orderExpiresAfterItsTime();
    void orderIsEndedByControlOnce();
    void foreignAndUnknownOrdersAreNotFound();
    void badRechargeMakesNoOrder();
    void passwordIsChangedByItsRules_data();
    void passwordIsChangedByItsRules();

private:
    Client::Headers headers(const Account &account) const;
    JSON data(const QByteArray &path, const Account &account = First);
    QByteArray order(const QByteArray &packageId = "basic");
    QByteArray pay(const QByteArray &number);
    QString status(const QByteArray &number) { return text(data("token/recharge/" + number + "/status")["status"]); }
    Ledger &ledger() { return m_client->state().ledger; }

    std::unique_ptr<Client> m_client;
    QDateTime m_now;
};

void tst_DevServerTokens::init()
{
    m_now = Noon;
    ServerState state{.accounts = Accounts({First, Second})};
    state.now = [this] { return m_now; };
    m_client = std::make_unique<Client>(std::move(state));
}

Client::Headers tst_DevServerTokens::headers(const Account &account) const
{
    return {{"Authorization", "Bearer " + m_client->state().accounts.issueToken(account).toUtf8()}};
}

JSON tst_DevServerTokens::data(const QByteArray &path, const Account &account)
{
    const JSON envelope = m_client->get("/api/v1/" + path, headers(account)).json();
    return envelope["code"] == 0 ? envelope["data"] : JSON();
}

/// Gives the number of a new order.
QByteArray tst_DevServerTokens::order(const QByteArray &packageId)
{
    const Reply reply =
        m_client->send("POST", "/api/v1/token/recharge", R"({"packageId":")" + packageId + R"("})", headers(First));
    return text(reply.json()["data"]["orderNo"]).toLatin1();
}

/// Presses the button of the payment page and gives the page that follows.
QByteArray tst_DevServerTokens::pay(const QByteArray &number)
{
    const Reply reply = m_client->send("POST", "/pay/" + number);
    return reply.status == 303 ? m_client->get(reply.header("Location")).body : QByteArray();
}

void tst_DevServerTokens::everyRouteWantsAToken()
{
    for (const QByteArrayView route :
         {"GET token/balance", "GET token/packages", "GET token/transactions", "GET token/usage/weekly",
          "GET token/recharge/VX1/status", "POST token/recharge", "POST user/change-password"})
        for (const Client::Headers &headers : {Client::Headers(), {{"Authorization", "Bearer sk-1/+"}}}) {
            const QByteArrayList words = route.toByteArray().split(' ');
            const Reply reply = m_client->send(words[0], "/api/v1/" + words[1], "{}", headers);
            QVERIFY2(reply.status == 401 && reply.json()["code"] == 1, route.data());
        }
}

void tst_DevServerTokens::balanceCountsDayAndMonthInLocalTime()
{
    const QDateTime midnight = Noon.date().startOfDay();
    const QDateTime month = QDate(2025, 3, 1).startOfDay();
    ledger().book(First.userId, booking(EntryType::Purchase, 1000, month.addDays(-2)));
    ledger().book(First.userId, booking(EntryType::Consume, 1, month.addMSecs(-1)));
    ledger().book(First.userId, booking(EntryType::Consume, 10, month));
    ledger().book(First.userId, booking(EntryType::Consume, 20, midnight.addMSecs(-1)));
    ledger().book(First.userId, booking(EntryType::Consume, 100, midnight));
    ledger().book(First.userId, booking(EntryType::Refund, 50, Noon));
    ledger().book(Second.userId, booking(EntryType::Bonus, 7, Noon));
    QVERIFY(data("token/balance") == JSON({{"totalBalance", 919}, {"usedToday", 100}, {"usedThisMonth", 130}}));
    QVERIFY(data("token/balance", Second) == JSON({{"totalBalance", 7}, {"usedToday", 0}, {"usedThisMonth", 0}}));
}

void tst_DevServerTokens::weeklyUsageHasAnEntryForEveryDay()
{
    const QDateTime oldest = QDate(2025, 2, 27).startOfDay();
    ledger().book(First.userId, booking(EntryType::Bonus, 1000, oldest.addDays(-1)));
    ledger().book(First.userId, booking(EntryType::Consume, 1, oldest.addMSecs(-1)));
    ledger().book(First.userId, booking(EntryType::Consume, 10, oldest));
    ledger().book(First.userId, booking(EntryType::Consume, 20, oldest.addDays(2)));
    ledger().book(First.userId, booking(EntryType::Consume, 30, Noon));
    const JSON expected = JSON::parse(R"([
        {"date":"2025-02-27","tokens":10},{"date":"2025-02-28","tokens":0},{"date":"2025-03-01","tokens":20},
        {"date":"2025-03-02","tokens":0},{"date":"2025-03-03","tokens":0},{"date":"2025-03-04","tokens":0},
        {"date":"2025-03-05","tokens":30}])");
    QVERIFY(data("token/usage/weekly") == expected);
}

void tst_DevServerTokens::transactionsTravelWithTheKeysOfTheClient()
{
    const QDateTime utc(QDate(2025, 3, 4), QTime(23, 5, 9), Qt::UTC);
    ledger().book(First.userId, booking(EntryType::Bonus, 100, utc.addSecs(-1)));
    ledger().book(First.userId,
                  {.type = EntryType::Consume,
                   .amount = 40,
                   .description = u"对话"_s,
                   .softwareId = u"openclaw"_s,
                   .softwareName = u"OpenClaw"_s,
                   .time = utc});
    const JSON expected = JSON::parse(R"({"transactions":[
        {"id":"tx-00000002","type":"consume","amount":40,"balance":60,"softwareId":"openclaw",
         "softwareName":"OpenClaw","description":"对话","createdAt":"2025-03-04 23:05:09"},
        {"id":"tx-00000001","type":"bonus","amount":100,"balance":100,"description":"说明",
         "createdAt":"2025-03-04 23:05:08"}],"total":2,"page":1,"pageSize":100})");
    QVERIFY(data("token/transactions") == expected);
}

void tst_DevServerTokens::transactionsComeByPages_data()
{
    const auto row = columns<QByteArray, QList<int>>("query", "amounts");
    row("first", "?pageSize=2", QList<int>({5, 4}));
    row("last", "?page=3&pageSize=2", QList<int>({1}));
    row("behind the last", "?page=4&pageSize=2", QList<int>());
    row("nonsense", "?page=0&pageSize=x", QList<int>({5, 4, 3, 2, 1}));
}

void tst_DevServerTokens::transactionsComeByPages()
{
    QFETCH(QByteArray, query);
    for (int amount = 1; amount <= 5; ++amount)
        ledger().book(First.userId, booking(EntryType::Bonus, amount, Noon));
    const JSON page = data("token/transactions" + query);
    QVERIFY(page["total"] == 5);
    QList<int> found;
    for (const JSON &entry : page["transactions"])
        found.append(entry["amount"].get<int>());
    QTEST(found, "amounts");
}

void tst_DevServerTokens::madeUpHistoryIsBelievable_data()
{
    const auto row = columns<int, int, QTime>("entries", "days", "now");
    row("two weeks", 90, 14, QTime(12, 0));
    row("just after midnight", 90, 14, QTime(0, 0, 30));
    row("few", 14, 14, QTime(23, 59, 59));
    row("fewer than days", 3, 14, QTime(12, 0));
    row("long", 10'000, 333, QTime(12, 0));
}

void tst_DevServerTokens::madeUpHistoryIsBelievable()
{
    QFETCH(int, entries);
    QFETCH(int, days);
    QFETCH(QTime, now);
    m_now = QDateTime(Noon.date(), now);
    const Package *const package = packageWithId(u"standard"_s);
    makeUpHistory(ledger(), First.userId, {.entries = entries, .days = days, .package = package}, m_now);
    m_client->state().transactionsPerPage = entries;
    const JSON all = data("token/transactions")["transactions"];
    QCOMPARE(qsizetype(all.size()), entries);
    QVERIFY(addsUp(all));
    QVERIFY(std::ranges::is_sorted(ledger().entries(First.userId), {},
                                   [](const Entry &entry) { return entry.booking.time; }));
    const QDateTime first = ledger().entries(First.userId).first().booking.time;
    QVERIFY(first >= Noon.date().addDays(1 - days).startOfDay());
    QVERIFY(ledger().entries(First.userId).last().booking.time <= m_now);
    if (entries >= 90) {
        QSet<QString> types;
        for (const JSON &entry : all)
            types.insert(text(entry["type"]));
        QCOMPARE(types.size(), 4);
        for (const JSON &day : data("token/usage/weekly"))
            QVERIFY(day["tokens"] > 0);
    }
}

void tst_DevServerTokens::embeddedAccountsStartWithTokens()
{
    auto state = readSeed(embeddedCatalog());
    QVERIFY2(state, qPrintable(state ? QString() : state.error()));
    QSet<qint64> balances;
    for (const Account &account : state->accounts.all()) {
        QVERIFY(state->ledger.entries(account.userId).size() <= state->transactionsPerPage);
        QVERIFY(state->ledger.balance(account.userId) > 100'000);
        balances.insert(state->ledger.balance(account.userId));
    }
    QCOMPARE(balances.size(), state->accounts.all().size());
}

void tst_DevServerTokens::controlFillsAndBalancesOneAccount()
{
    QCOMPARE(m_client->control("history", R"({"count":500})").status, 200);
    QCOMPARE(m_client->control("history", R"({"count":2000,"userId":"u&1"})").status, 200);
    QVERIFY(data("token/transactions")["transactions"].size() == 2000);
    QVERIFY(data("token/transactions", Second)["total"] == 500);
    QCOMPARE(m_client->control("history", R"({"count":300,"pageSize":20})").status, 200);
    const JSON page = data("token/transactions");
    QVERIFY(page["transactions"].size() == 20 && page["total"] == 300 && page["pageSize"] == 20);

    const qint64 before = ledger().balance(Second.userId);
    for (const char *tokens : {"0", "12345", "12345"}) {
        QCOMPARE(m_client->control("balance", R"({"userId":"u&1","tokens":)" + QByteArray(tokens) + '}').status, 200);
        QCOMPARE(ledger().balance(First.userId), QByteArray(tokens).toLongLong());
    }
    QCOMPARE(ledger().entries(First.userId).size(), 302);
    QCOMPARE(ledger().balance(Second.userId), before);
}

void tst_DevServerTokens::packagesTravelWithTheKeysOfTheClient()
{
    const JSON list = data("token/packages");
    QCOMPARE(list.size(), 5u);
    const JSON standard = JSON::parse(R"({"id":"standard","name":"标准版","tokenCount":500000,"price":39.9,
        "currency":"CNY","discount":0.2,"isPopular":true,"packageDescription":"最受欢迎，性价比最高"})");
    QVERIFY(list[2] == standard);
    QSet<QString> ids;
    for (const JSON &package : list) {
        ids.insert(text(package["id"]));
        QCOMPARE(package.contains("discount"), package["tokenCount"].get<qint64>() >= 500'000);
    }
    QCOMPARE(ids.size(), 5);
}

void tst_DevServerTokens::paidOrderBringsItsTokensOnce()
{
    const Reply reply = m_client->send("POST", "/api/v1/token/recharge", R"({"packageId":"standard"})", headers(First));
    const JSON recharge = reply.json()["data"];
    const QByteArray number = text(recharge["orderNo"]).toLatin1();
    QVERIFY(QRegularExpression(u"^VX[0-9]{20}$"_s).match(QString::fromLatin1(number)).hasMatch());
    QCOMPARE(text(recharge["qrUrl"]).toLatin1(), m_client->origin() + "/pay/" + number);
    QVERIFY(recharge["amountYuan"] == 39.9);
    QCOMPARE(status(number), u"pending"_s);

    const Reply page = m_client->get("/pay/" + number);
    QVERIFY(page.text().contains(u"¥ 39.90"_s));
    QVERIFY(page.text().contains(u"标准版"_s));
    QVERIFY(page.text().contains(u"张 &quot;伟&quot;&lt;b&gt;&amp;+"_s));
    QVERIFY(page.text().contains(u">支付</button>"_s));
    QCOMPARE(status(number), u"pending"_s); // looking is not paying

    for (int press = 0; press < 2; ++press) {
        const QByteArray paid = pay(number);
        QVERIFY(paid.contains("支付成功"));
        QVERIFY(!paid.contains("<button"));
    }
    const JSON answer = data("token/recharge/" + number + "/status");
    QVERIFY(answer == JSON({{"status", "paid"}, {"newBalance", 550'000}}));
    const QList<Entry> entries = ledger().entries(First.userId);
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries[0].booking.type, EntryType::Purchase);
    QCOMPARE(entries[0].booking.amount, 500'000);
    QCOMPARE(entries[1].booking.type, EntryType::Bonus);
    QVERIFY(ledger().entries(Second.userId).isEmpty());
}

void tst_DevServerTokens::orderMeetsItsFate_data()
{
    // before: status until the button is pressed
    // message: on the page then
    const auto row = columns<QString, QString, QByteArray, qint64>("before", "after", "message", "balance");
    row("payable", u"pending"_s, u"paid"_s, "支付成功", 110'000);
    row("selfPaid", u"paid"_s, u"paid"_s, "支付成功", 110'000);
    row("neverPaid", u"pending"_s, u"pending"_s, "支付结果确认中", 0);
    row("failing", u"pending"_s, u"failed"_s, "支付失败", 0);
    row("expiring", u"expired"_s, u"expired"_s, "订单已过期", 0);
}

void tst_DevServerTokens::orderMeetsItsFate()
{
    const QByteArray fate = QTest::currentDataTag();
    QCOMPARE(m_client->control("orders", R"({"next":")" + fate + R"("})").status, 200);
    const QByteArray number = order();
    const auto listed = [&] { return m_client->get("/_control/orders").json()["data"][0]; };
    QTEST(text(listed()["status"]), "before");
    QTEST(status(number), "before");
    QFETCH(QByteArray, message);
    const QByteArray page = pay(number);
    QVERIFY2(page.contains(message), page.constData());
    QTEST(status(number), "after");
    QTEST(ledger().balance(First.userId), "balance");
    QCOMPARE(text(listed()["orderNo"]).toLatin1(), number);
    QCOMPARE(text(listed()["fate"]).toLatin1(), fate);
    QTEST(text(listed()["status"]), "after");
}

void tst_DevServerTokens::orderExpiresAfterItsTime()
{
    const QByteArray number = order();
    m_now = Noon.addSecs(30 * 60 - 1);
    QCOMPARE(status(number), u"pending"_s);
    m_now = Noon.addSecs(30 * 60);
    QVERIFY(pay(number).contains("订单已过期"));
    QCOMPARE(ledger().balance(First.userId), 0);
}

void tst_DevServerTokens::orderIsEndedByControlOnce()
{
    const QByteArray number = order("trial");
    const QByteArray paid = R"({"orderNo":")" + number + R"(","status":"paid"})";
    QCOMPARE(m_client->control("orders", paid).status, 200);
    QCOMPARE(m_client->control("orders", paid).status, 409);
    QCOMPARE(status(number), u"paid"_s);
    QCOMPARE(ledger().balance(First.userId), 22'000);
    QVERIFY(order() != number);
}

void tst_DevServerTokens::foreignAndUnknownOrdersAreNotFound()
{
    const QByteArray number = order();
    QCOMPARE(m_client->get("/api/v1/token/recharge/" + number + "/status", headers(Second)).status, 404);
    QCOMPARE(m_client->get("/api/v1/token/recharge/VX1/status", headers(First)).status, 404);
    QCOMPARE(m_client->get("/api/v1/token/recharge//status", headers(First)).status, 404);
    QCOMPARE(m_client->get("/pay/VX1").status, 404);
    QCOMPARE(m_client->send("POST", "/pay/VX1").status, 404);
}

void tst_DevServerTokens::badRechargeMakesNoOrder()
{
    for (const char *body :
         {"basic", "{}", R"({"packageId":1})", R"({"packageId":"basic","price":0.01})", R"({"packageId":"gold"})"}) {
        const Reply reply = m_client->send("POST", "/api/v1/token/recharge", body, headers(First));
        QVERIFY2(reply.status == (QByteArrayView(body).contains("gold") ? 404 : 400), body);
        QVERIFY(reply.json()["code"] == reply.status);
    }
    QVERIFY(m_client->state().orders.all().empty());
}

void tst_DevServerTokens::passwordIsChangedByItsRules_data()
{
    // password: afterwards
    const auto row = columns<QByteArray, int, int, QString>("body", "status", "code", "password");
    row("changed", R"({"oldPassword":"a+b=密&","newPassword":"secret"})", 200, 0, u"secret"_s);
    row("six characters", R"({"oldPassword":"a+b=密&","newPassword":"新的密码六个"})", 200, 0, u"新的密码六个"_s);
    row("wrong old one", R"({"oldPassword":"a+b=密","newPassword":"secret"})", 200, 1001, First.password);
    row("five characters", R"({"oldPassword":"a+b=密&","newPassword":"12345"})", 200, 1002, First.password);
    row("characters of several units", R"({"oldPassword":"a+b=密&","newPassword":"😀😀😀"})", 200, 1002,
        First.password);
    row("no new one", R"({"oldPassword":"a+b=密&"})", 400, 400, First.password);
    row("not text", R"({"oldPassword":"a+b=密&","newPassword":123456})", 400, 400, First.password);
    row("no JSON", "newPassword=secret", 400, 400, First.password);
}

void tst_DevServerTokens::passwordIsChangedByItsRules()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, password);
    const Client::Headers user = headers(First);
    const Reply reply = m_client->send("POST", "/api/v1/user/change-password", body, user);
    QTEST(reply.status, "status");
    QTEST(reply.json()["code"].get<int>(), "code");
    QCOMPARE(m_client->state().accounts.withId(First.userId)->password, password);
    QCOMPARE(m_client->state().accounts.withId(Second.userId)->password, Second.password);
    QCOMPARE(m_client->get("/auth/verify", user).status, 200);

    const QByteArray same =
        R"({"oldPassword":")" + password.toUtf8() + R"(","newPassword":")" + password.toUtf8() + R"("})";
    const int code = m_client->send("POST", "/api/v1/user/change-password", same, user).json()["code"].get<int>();
    QCOMPARE(code, password.size() < 6 ? 1002 : 1003);
}

QTEST_GUILESS_MAIN(tst_DevServerTokens)
#include "tst_DevServerTokens.moc"
