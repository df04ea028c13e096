#include "Client.h"
#include "History.h"
#include "Seed.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace devserver;

namespace {

const Account User{QStringLiteral("u1"),     QStringLiteral("张<伟>"), QStringLiteral("13800000001"),
                   QStringLiteral("旧密码"), QStringLiteral("user"),   QStringLiteral("sk-1")};
const Account Other{QStringLiteral("u2"), QStringLiteral("李娜"), QStringLiteral("13800000002"),
                    QStringLiteral("q"),  QStringLiteral("user"), QStringLiteral("sk-2")};
const QDateTime Noon(QDate(2025, 3, 5), QTime(12, 0));

QString text(const JSON &value)
{
    return QString::fromStdString(value.get<std::string>());
}

Booking booking(EntryType type, qint64 amount, const QDateTime &time)
{
    return {.type = type, .amount = amount, .description = QStringLiteral("说明"), .time = time};
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
    void everyRouteWantsAToken_data();
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
    void badRequestIsRefused_data();
    void badRequestIsRefused();
    void passwordIsChangedByItsRules_data();
    void passwordIsChangedByItsRules();

private:
    Client::Headers headers(const Account &account) const;
    JSON data(const QByteArray &path, const Account &account = User);
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
    ServerState state{.accounts = Accounts({User, Other})};
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
        m_client->send("POST", "/api/v1/token/recharge", R"({"packageId":")" + packageId + R"("})", headers(User));
    return text(reply.json()["data"]["orderNo"]).toLatin1();
}

/// Presses the button of the payment page and gives the page that follows.
QByteArray tst_DevServerTokens::pay(const QByteArray &number)
{
    const Reply reply = m_client->send("POST", "/pay/" + number);
    return reply.status == 303 ? m_client->get(reply.header("Location")).body : QByteArray();
}

void tst_DevServerTokens::everyRouteWantsAToken_data()
{
    QTest::addColumn<QByteArray>("method");
    for (const char *path :
         {"token/balance", "token/packages", "token/transactions", "token/usage/weekly", "token/recharge/VX1/status"})
        QTest::newRow(path) << QByteArray("GET");
    for (const char *path : {"token/recharge", "user/change-password"})
        QTest::newRow(path) << QByteArray("POST");
}

void tst_DevServerTokens::everyRouteWantsAToken()
{
    QFETCH(QByteArray, method);
    for (const Client::Headers &headers : {Client::Headers(), {{"Authorization", "Bearer sk-1"}}}) {
        const Reply reply = m_client->send(method, QByteArray("/api/v1/") + QTest::currentDataTag(), "{}", headers);
        QCOMPARE(reply.status, 401);
        QVERIFY(reply.json()["code"] == 1);
    }
}

void tst_DevServerTokens::balanceCountsDayAndMonthInLocalTime()
{
    const QDateTime midnight = Noon.date().startOfDay();
    const QDateTime month = QDate(2025, 3, 1).startOfDay();
    ledger().book(User.userId, booking(EntryType::Purchase, 1000, month.addDays(-2)));
    ledger().book(User.userId, booking(EntryType::Consume, 1, month.addMSecs(-1)));
    ledger().book(User.userId, booking(EntryType::Consume, 10, month));
    ledger().book(User.userId, booking(EntryType::Consume, 20, midnight.addMSecs(-1)));
    ledger().book(User.userId, booking(EntryType::Consume, 100, midnight));
    ledger().book(User.userId, booking(EntryType::Refund, 50, Noon));
    ledger().book(Other.userId, booking(EntryType::Bonus, 7, Noon));
    QVERIFY(data("token/balance") == JSON({{"totalBalance", 919}, {"usedToday", 100}, {"usedThisMonth", 130}}));
    QVERIFY(data("token/balance", Other) == JSON({{"totalBalance", 7}, {"usedToday", 0}, {"usedThisMonth", 0}}));
}

void tst_DevServerTokens::weeklyUsageHasAnEntryForEveryDay()
{
    const QDateTime oldest = QDate(2025, 2, 27).startOfDay();
    ledger().book(User.userId, booking(EntryType::Bonus, 1000, oldest.addDays(-1)));
    ledger().book(User.userId, booking(EntryType::Consume, 1, oldest.addMSecs(-1)));
    ledger().book(User.userId, booking(EntryType::Consume, 10, oldest));
    ledger().book(User.userId, booking(EntryType::Consume, 20, oldest.addDays(2)));
    ledger().book(User.userId, booking(EntryType::Consume, 30, Noon));
    const JSON expected = JSON::parse(R"([
        {"date":"2025-02-27","tokens":10},{"date":"2025-02-28","tokens":0},{"date":"2025-03-01","tokens":20},
        {"date":"2025-03-02","tokens":0},{"date":"2025-03-03","tokens":0},{"date":"2025-03-04","tokens":0},
        {"date":"2025-03-05","tokens":30}])");
    QVERIFY(data("token/usage/weekly") == expected);
}

void tst_DevServerTokens::transactionsTravelWithTheKeysOfTheClient()
{
    const QDateTime utc(QDate(2025, 3, 4), QTime(23, 5, 9), Qt::UTC);
    ledger().book(User.userId, booking(EntryType::Bonus, 100, utc.addSecs(-1)));
    ledger().book(User.userId,
                  {.type = EntryType::Consume,
                   .amount = 40,
                   .description = QStringLiteral("对话"),
                   .softwareId = QStringLiteral("openclaw"),
                   .softwareName = QStringLiteral("OpenClaw"),
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
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QList<int>>("amounts");
    QTest::newRow("first") << QByteArray("?pageSize=2") << QList<int>({5, 4});
    QTest::newRow("last") << QByteArray("?page=3&pageSize=2") << QList<int>({1});
    QTest::newRow("behind the last") << QByteArray("?page=4&pageSize=2") << QList<int>();
    QTest::newRow("nonsense") << QByteArray("?page=0&pageSize=x") << QList<int>({5, 4, 3, 2, 1});
}

void tst_DevServerTokens::transactionsComeByPages()
{
    QFETCH(QByteArray, query);
    for (int amount = 1; amount <= 5; ++amount)
        ledger().book(User.userId, booking(EntryType::Bonus, amount, Noon));
    const JSON page = data("token/transactions" + query);
    QVERIFY(page["total"] == 5);
    QList<int> found;
    for (const JSON &entry : page["transactions"])
        found.append(entry["amount"].get<int>());
    QTEST(found, "amounts");
}

void tst_DevServerTokens::madeUpHistoryIsBelievable_data()
{
    QTest::addColumn<int>("entries");
    QTest::addColumn<int>("days");
    QTest::addColumn<QTime>("now");
    QTest::newRow("two weeks") << 90 << 14 << QTime(12, 0);
    QTest::newRow("just after midnight") << 90 << 14 << QTime(0, 0, 30);
    QTest::newRow("few") << 14 << 14 << QTime(23, 59, 59);
    QTest::newRow("fewer than days") << 3 << 14 << QTime(12, 0);
    QTest::newRow("long") << 10'000 << 333 << QTime(12, 0);
}

void tst_DevServerTokens::madeUpHistoryIsBelievable()
{
    QFETCH(int, entries);
    QFETCH(int, days);
    QFETCH(QTime, now);
    m_now = QDateTime(Noon.date(), now);
    const Package *const package = packageWithId(QStringLiteral("standard"));
    makeUpHistory(ledger(), User.userId, {.entries = entries, .days = days, .package = package}, m_now);
    m_client->state().transactionsPerPage = entries;
    const JSON all = data("token/transactions")["transactions"];
    QCOMPARE(qsizetype(all.size()), entries);
    QVERIFY(addsUp(all));
    QVERIFY(std::ranges::is_sorted(ledger().entries(User.userId), {},
                                   [](const Entry &entry) { return entry.booking.time; }));
    const QDateTime first = ledger().entries(User.userId).first().booking.time;
    QVERIFY(first >= Noon.date().addDays(1 - days).startOfDay());
    QVERIFY(ledger().entries(User.userId).last().booking.time <= m_now);
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
    QCOMPARE(m_client->control("history", R"({"count":2000,"userId":"u1"})").status, 200);
    QVERIFY(data("token/transactions")["transactions"].size() == 2000);
    QVERIFY(data("token/transactions", Other)["total"] == 500);
    QCOMPARE(m_client->control("history", R"({"count":300,"pageSize":20})").status, 200);
    const JSON page = data("token/transactions");
    QVERIFY(page["transactions"].size() == 20 && page["total"] == 300 && page["pageSize"] == 20);

    const qint64 before = ledger().balance(Other.userId);
    for (const char *tokens : {"0", "12345", "12345"}) {
        QCOMPARE(m_client->control("balance", R"({"userId":"u1","tokens":)" + QByteArray(tokens) + '}').status, 200);
        QCOMPARE(ledger().balance(User.userId), QByteArray(tokens).toLongLong());
    }
    QCOMPARE(ledger().entries(User.userId).size(), 302);
    QCOMPARE(ledger().balance(Other.userId), before);
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
    const Reply reply = m_client->send("POST", "/api/v1/token/recharge", R"({"packageId":"standard"})", headers(User));
    const JSON recharge = reply.json()["data"];
    const QByteArray number = text(recharge["orderNo"]).toLatin1();
    QVERIFY(QRegularExpression(QStringLiteral("^VX[0-9]{20}$")).match(QString::fromLatin1(number)).hasMatch());
    QCOMPARE(text(recharge["qrUrl"]).toLatin1(), m_client->origin() + "/pay/" + number);
    QVERIFY(recharge["amountYuan"] == 39.9);
    QCOMPARE(status(number), QStringLiteral("pending"));

    const Reply page = m_client->get("/pay/" + number);
    QVERIFY(page.text().contains(QStringLiteral("¥ 39.90")));
    QVERIFY(page.text().contains(QStringLiteral("标准版")));
    QVERIFY(page.text().contains(QStringLiteral("张&lt;伟&gt;")));
    QVERIFY(page.text().contains(QStringLiteral(">支付</button>")));
    QCOMPARE(status(number), QStringLiteral("pending")); // looking is not paying

    for (int press = 0; press < 2; ++press) {
        const QByteArray paid = pay(number);
        QVERIFY(paid.contains("支付成功"));
        QVERIFY(!paid.contains("<button"));
    }
    const JSON answer = data("token/recharge/" + number + "/status");
    QVERIFY(answer == JSON({{"status", "paid"}, {"newBalance", 550'000}}));
    const QList<Entry> entries = ledger().entries(User.userId);
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries[0].booking.type, EntryType::Purchase);
    QCOMPARE(entries[0].booking.amount, 500'000);
    QCOMPARE(entries[1].booking.type, EntryType::Bonus);
    QVERIFY(ledger().entries(Other.userId).isEmpty());
}

void tst_DevServerTokens::orderMeetsItsFate_data()
{
    QTest::addColumn<QString>("before"); // status until the button is pressed
    QTest::addColumn<QString>("after");
    QTest::addColumn<QByteArray>("message"); // on the page then
    QTest::addColumn<qint64>("balance");
    const auto row = [](const char *fate, const char *before, const char *after, const char *message, qint64 balance) {
        QTest::newRow(fate) << QString::fromLatin1(before) << QString::fromLatin1(after) << QByteArray(message)
                            << balance;
    };
    row("payable", "pending", "paid", "支付成功", 110'000);
    row("selfPaid", "paid", "paid", "支付成功", 110'000);
    row("neverPaid", "pending", "pending", "支付结果确认中", 0);
    row("failing", "pending", "failed", "支付失败", 0);
    row("expiring", "expired", "expired", "订单已过期", 0);
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
    QTEST(ledger().balance(User.userId), "balance");
    QCOMPARE(text(listed()["orderNo"]).toLatin1(), number);
    QCOMPARE(text(listed()["fate"]).toLatin1(), fate);
    QTEST(text(listed()["status"]), "after");
}

void tst_DevServerTokens::orderExpiresAfterItsTime()
{
    const QByteArray number = order();
    m_now = Noon.addSecs(30 * 60 - 1);
    QCOMPARE(status(number), QStringLiteral("pending"));
    m_now = Noon.addSecs(30 * 60);
    QVERIFY(pay(number).contains("订单已过期"));
    QCOMPARE(ledger().balance(User.userId), 0);
}

void tst_DevServerTokens::orderIsEndedByControlOnce()
{
    const QByteArray number = order("trial");
    const QByteArray paid = R"({"orderNo":")" + number + R"(","status":"paid"})";
    QCOMPARE(m_client->control("orders", paid).status, 200);
    QCOMPARE(m_client->control("orders", paid).status, 409);
    QCOMPARE(status(number), QStringLiteral("paid"));
    QCOMPARE(ledger().balance(User.userId), 22'000);
    QVERIFY(order() != number);
}

void tst_DevServerTokens::foreignAndUnknownOrdersAreNotFound()
{
    const QByteArray number = order();
    QCOMPARE(m_client->get("/api/v1/token/recharge/" + number + "/status", headers(Other)).status, 404);
    QCOMPARE(m_client->get("/api/v1/token/recharge/VX1/status", headers(User)).status, 404);
    QCOMPARE(m_client->get("/api/v1/token/recharge//status", headers(User)).status, 404);
    QCOMPARE(m_client->get("/pay/VX1").status, 404);
    QCOMPARE(m_client->send("POST", "/pay/VX1").status, 404);
}

void tst_DevServerTokens::badRequestIsRefused_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    const auto row = [](const char *name, const char *path, const char *body, int status) {
        QTest::newRow(name) << QByteArray(path) << QByteArray(body) << status;
    };
    row("recharge without JSON", "/api/v1/token/recharge", "basic", 400);
    row("recharge without package", "/api/v1/token/recharge", "{}", 400);
    row("recharge with a number", "/api/v1/token/recharge", R"({"packageId":1})", 400);
    row("recharge with more", "/api/v1/token/recharge", R"({"packageId":"basic","price":0.01})", 400);
    row("recharge of nothing for sale", "/api/v1/token/recharge", R"({"packageId":"gold"})", 404);
    row("fate unknown", "/_control/orders", R"({"next":"lost"})", 400);
    row("no fate", "/_control/orders", "{}", 400);
    row("order without status", "/_control/orders", R"({"orderNo":"VX1"})", 400);
    row("order pending again", "/_control/orders", R"({"orderNo":"VX1","status":"pending"})", 400);
    row("order unknown", "/_control/orders", R"({"orderNo":"VX1","status":"paid","next":"failing"})", 404);
    row("no count", "/_control/history", "{}", 400);
    row("count of nothing", "/_control/history", R"({"count":0})", 400);
    row("count too large", "/_control/history", R"({"count":18446744073709551615})", 400);
    row("history of nobody", "/_control/history", R"({"count":5,"userId":"u3"})", 400);
    row("balance below nothing", "/_control/balance", R"({"tokens":-1})", 400);
    row("balance of nobody", "/_control/balance", R"({"tokens":1,"userId":""})", 400);
}

void tst_DevServerTokens::badRequestIsRefused()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, body);
    const Reply reply = m_client->send("POST", path, body, headers(User));
    QTEST(reply.status, "status");
    QVERIFY(reply.json()["code"] == reply.status);
    QVERIFY(m_client->state().orders.all().empty());
    QCOMPARE(m_client->state().orders.nextFate, OrderFate::Payable);
    QVERIFY(ledger().entries(User.userId).isEmpty());
}

void tst_DevServerTokens::passwordIsChangedByItsRules_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("password"); // afterwards
    const auto row = [](const char *name, const char *body, int status, int code,
                        const QString &password = User.password) {
        QTest::newRow(name) << QByteArray(body) << status << code << password;
    };
    row("changed", R"({"oldPassword":"旧密码","newPassword":"secret"})", 200, 0, QStringLiteral("secret"));
    row("six characters", R"({"oldPassword":"旧密码","newPassword":"新的密码六个"})", 200, 0,
        QStringLiteral("新的密码六个"));
    row("wrong old one", R"({"oldPassword":"旧密","newPassword":"secret"})", 200, 1001);
    row("five characters", R"({"oldPassword":"旧密码","newPassword":"12345"})", 200, 1002);
    row("characters of several units", R"({"oldPassword":"旧密码","newPassword":"😀😀😀"})", 200, 1002);
    row("no new one", R"({"oldPassword":"旧密码"})", 400, 400);
    row("not text", R"({"oldPassword":"旧密码","newPassword":123456})", 400, 400);
    row("no JSON", "newPassword=secret", 400, 400);
}

void tst_DevServerTokens::passwordIsChangedByItsRules()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, password);
    const Client::Headers user = headers(User);
    const Reply reply = m_client->send("POST", "/api/v1/user/change-password", body, user);
    QTEST(reply.status, "status");
    QTEST(reply.json()["code"].get<int>(), "code");
    QCOMPARE(m_client->state().accounts.withId(User.userId)->password, password);
    QCOMPARE(m_client->state().accounts.withId(Other.userId)->password, Other.password);
    QCOMPARE(m_client->get("/auth/verify", user).status, 200);

    const QByteArray same =
        R"({"oldPassword":")" + password.toUtf8() + R"(","newPassword":")" + password.toUtf8() + R"("})";
    const int code = m_client->send("POST", "/api/v1/user/change-password", same, user).json()["code"].get<int>();
    QCOMPARE(code, password.size() < 6 ? 1002 : 1003);
}

QTEST_GUILESS_MAIN(tst_DevServerTokens)
#include "tst_DevServerTokens.moc"
