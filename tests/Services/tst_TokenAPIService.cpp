#include "Support/Served.h"
#include "Support/Table.h"

using namespace Qt::StringLiterals;

namespace {

const QString root = u"/api/v1"_s;

/// The description of a failure; empty for a success.
template<typename T> QString describe(const std::expected<T, APIError> &result)
{
    return result ? QString() : result.error().description();
}

/// One operation, with how it asks and data that it takes.
struct Operation {
    const char *name;
    QByteArray method;
    QString path;
    QByteArray data;
    QString (*run)(TokenAPIService &service);
};

const QList<Operation> operations{
    {"getBalance", "GET", u"/token/balance"_s, R"({"totalBalance":1,"usedToday":2,"usedThisMonth":3})",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.getBalance())); }},
    {"getPackages", "GET", u"/token/packages"_s, "[]",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.getPackages())); }},
    {"getTransactions", "GET", u"/token/transactions"_s, R"({"transactions":[],"total":0,"page":1,"pageSize":20})",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.getTransactions())); }},
    {"createRecharge", "POST", u"/token/recharge"_s, R"({"orderNo":"N","qrUrl":"u","amountYuan":1})",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.createRecharge(u"pro"_s))); }},
    {"checkRechargeStatus", "GET", u"/token/recharge/N-1/status"_s, R"({"status":"pending"})",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.checkRechargeStatus(u"N-1"_s))); }},
    {"getWeeklyUsage", "GET", u"/token/usage/weekly"_s, "[]",
     [](TokenAPIService &service) { return describe(QCoro::waitFor(service.getWeeklyUsage())); }},
};

} // namespace

class tst_TokenAPIService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void operation_data();
    void operation();
    void answersAsRecords();
    void longHistory();
    void orderNumberStandsInThePathAsItIs();
    void changePassword_data();
    void changePassword();
};

void tst_TokenAPIService::operation_data()
{
    const auto row = columns<int>("index");
    for (qsizetype index = 0; index < operations.size(); ++index)
        row(operations[index].name, int(index));
}

void tst_TokenAPIService::operation()
{
    QFETCH(int, index);
    const Operation &operation = operations[index];
    Served fixture;
    const auto outcome = [&](const QByteArray &body, int status = 200) {
        fixture.answer(operation.path, body, status, operation.method);
        return operation.run(fixture.tokenAPI);
    };
    QCOMPARE(outcome(envelope(operation.data)), QString());
    QCOMPARE(outcome(envelope(operation.data, 1001)), QString());
    const auto &request = fixture.server.requests().last();
    QCOMPARE(request.method, operation.method);
    QCOMPARE(request.path, root + operation.path);
    QCOMPARE(request.query, QString());
    QCOMPARE(request.body, operation.method == "POST" ? R"({"packageId":"pro"})" : "");

    QCOMPARE(outcome(envelope("null")), u"无效的服务器响应"_s);
    QCOMPARE(outcome(R"({"code":0,"message":""})"), u"无效的服务器响应"_s);
    QVERIFY(outcome(envelope("7")).startsWith(u"数据解析错误: 字段 “data” 应为"_s));
    QVERIFY(outcome(envelope(operation.data).chopped(1)).startsWith(u"数据解析错误: "_s));
    QCOMPARE(outcome(envelope(operation.data), 401), u"认证过期，请重新登录"_s);
    QCOMPARE(outcome("oops", 500), u"HTTP 500: oops"_s);
}

void tst_TokenAPIService::answersAsRecords()
{
    Served fixture;
    fixture.answer(u"/token/balance"_s, envelope(R"({"totalBalance":1,"usedToday":2,"usedThisMonth":3})"));
    QCOMPARE(QCoro::waitFor(fixture.tokenAPI.getBalance()).value(), (BalanceResponse{1, 2, 3}));

    fixture.answer(u"/token/packages"_s, envelope(R"([{"id":"a","name":"A","tokenCount":5,"price":0.1,
        "currency":"CNY","isPopular":true,"packageDescription":"甲"}])"));
    QCOMPARE(QCoro::waitFor(fixture.tokenAPI.getPackages()).value(),
             (QList<TokenPackage>{{u"a"_s, u"A"_s, 5, 0.1, u"CNY"_s, {}, true, u"甲"_s}}));

    fixture.answer(u"/token/recharge"_s, envelope(R"({"orderNo":"N","qrUrl":"weixin://x","amountYuan":39.9})"), 200,
                   "POST");
    QCOMPARE(QCoro::waitFor(fixture.tokenAPI.createRecharge(u"a"_s)).value(),
             (RechargeResponse{u"N"_s, u"weixin://x"_s, 39.9}));

    fixture.answer(u"/token/recharge/N/status"_s, envelope(R"({"status":"paid","newBalance":9})"));
    QCOMPARE(QCoro::waitFor(fixture.tokenAPI.checkRechargeStatus(u"N"_s)).value(),
             (RechargeStatusResponse{u"paid"_s, 9}));

    fixture.answer(u"/token/usage/weekly"_s, envelope(R"([{"date":"2025-01-02","tokens":4}])"));
    QCOMPARE(QCoro::waitFor(fixture.tokenAPI.getWeeklyUsage()).value(), (QList<WeeklyUsageItem>{{u"2025-01-02"_s, 4}}));
}

void tst_TokenAPIService::longHistory()
{
    constexpr int count = 10'000;
    QByteArrayList rows;
    for (int row = 0; row < count; ++row)
        rows.append(
            QByteArray(R"({"id":"%1","type":"consume","amount":%1,"balance":0,"softwareId":null,"softwareName":"甲",
            "description":"对话","createdAt":"2025-01-02 03:04:05"})")
                .replace("%1", QByteArray::number(row)));
    const auto page = [](const QByteArrayList &rows) {
        return envelope(R"({"transactions":[)" + rows.join(',') + R"(],"total":10000,"page":1,"pageSize":10000})");
    };
    Served fixture;
    fixture.answer(u"/token/transactions"_s, page(rows));
    const auto transactions = QCoro::waitFor(fixture.tokenAPI.getTransactions());
    QVERIFY2(transactions, qUtf8Printable(describe(transactions)));
    QCOMPARE(transactions->size(), count);
    QCOMPARE(transactions->last(),
             (TransactionResponse{u"9999"_s, u"consume"_s, 9999, 0, {}, u"甲"_s, u"对话"_s, u"2025-01-02 03:04:05"_s}));

    rows.last().replace("\"balance\":0", "\"balance\":0.5");
    fixture.answer(u"/token/transactions"_s, page(rows));
    QCOMPARE(describe(QCoro::waitFor(fixture.tokenAPI.getTransactions())),
             u"数据解析错误: 字段 “data” 字段 “transactions” 第 10000 项：字段 “balance” 应为整数"_s);
}

void tst_TokenAPIService::orderNumberStandsInThePathAsItIs()
{
    Served fixture;
    fixture.answer(u"/token/recharge/a/status"_s, envelope(R"({"status":"x"})"));
    const auto status = QCoro::waitFor(fixture.tokenAPI.checkRechargeStatus(u"%61"_s)); // an encoded "a" already
    QVERIFY2(status, qUtf8Printable(describe(status)));
    QCOMPARE(describe(QCoro::waitFor(fixture.tokenAPI.checkRechargeStatus(u"%zz"_s))), u"无效的 URL"_s);
}

void tst_TokenAPIService::changePassword_data()
{
    const auto row = columns<int, QByteArray, QString>("status", "body", "outcome");
    row("done", 200, envelope("null"), {});
    row("done, with data", 200, envelope("\"ok\""), {});
    row("refused", 200, envelope("null", 1001), u"HTTP 1001: 消息"_s);
    row("refused, with data", 200, envelope("\"x\"", -1), u"HTTP -1: 消息"_s);
    row("refused by status", 403, "no", u"HTTP 403: no"_s);
    row("signed out", 401, envelope("null"), u"认证过期，请重新登录"_s);
    row("data is no text", 200, envelope("{}"), u"数据解析错误: 字段 “data” 应为文本"_s);
}

void tst_TokenAPIService::changePassword()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Served fixture;
    fixture.answer(u"/user/change-password"_s, body, status, "POST");
    QTEST(describe(QCoro::waitFor(fixture.tokenAPI.changePassword(u"旧密码"_s, u"新\"密码"_s))), "outcome");
    QCOMPARE(fixture.server.requests().last().body, R"({"oldPassword":"旧密码","newPassword":"新\"密码"})");
}

QTEST_GUILESS_MAIN(tst_TokenAPIService)
#include "tst_TokenAPIService.moc"
