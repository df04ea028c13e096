#include "Client.h"
#include "Seed.h"
#include "Support/Table.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace devserver;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(devserver::Fault)

namespace {

using Error = QNetworkReply::NetworkError;

constexpr auto CatalogPath = "/api/v1/software/catalog";
constexpr auto FaultsPath = "/_control/faults";
constexpr auto Envelope = R"({"code":0,"message":"ok","data":[{"id":"ollama","order":1.5}]})";

} // namespace

class tst_DevServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_client = std::make_unique<Client>(ServerState{.catalog = JSON::parse(R"([{"id":"ollama","order":1.5}])"),
                                                        .accounts = Accounts({First, Second})});
    }
    void embeddedCatalogIsServed();
    void unknownRoutesAnswer404InTheEnvelope();
    void faultChangesTheAnswer_data();
    void faultChangesTheAnswer();
    void delayHoldsTheAnswerBackWhileOthersAreServed();
    void requestAbandonedDuringItsDelayDoesNoHarm();
    void faultLastsForTheNextRequestsOnly();
    void everyRequestIsRecordedWhole();
    void controlEndpointsSwitchFaultsAndListRequests();
    void badOrderIsRefusedAndChangesNothing_data();
    void badOrderIsRefusedAndChangesNothing();

private:
    Reply send(const QByteArray &method, const QByteArray &path, const QByteArray &body = {})
    {
        return m_client->send(method, path, body);
    }
    DevServer &server() { return m_client->server(); }

    std::unique_ptr<Client> m_client;
};

void tst_DevServer::embeddedCatalogIsServed()
{
    auto state = readSeed(embeddedCatalog());
    QVERIFY2(state, qPrintable(state ? QString() : state.error()));
    server().state() = *state;
    const JSON envelope = JSON::parse(send("GET", CatalogPath).body.toStdString());
    QVERIFY(!envelope["data"].empty());
    QVERIFY(envelope["data"] == state->catalog);
}

void tst_DevServer::unknownRoutesAnswer404InTheEnvelope()
{
    const auto outcome = [this](const QByteArray &method, const QByteArray &path) {
        const Reply reply = send(method, path);
        return QByteArray::number(reply.status) + ' ' + reply.body;
    };
    QCOMPARE(outcome("GET", "/api/v1/nothing"), R"(404 {"code":404,"message":"没有这个地址：GET /api/v1/nothing"})");
    QCOMPARE(outcome("POST", CatalogPath),
             R"(404 {"code":404,"message":"没有这个地址：POST /api/v1/software/catalog"})");
    QCOMPARE(outcome("PUT", FaultsPath), R"(404 {"code":404,"message":"没有这个控制接口：PUT /_control/faults"})");
}

void tst_DevServer::faultChangesTheAnswer_data()
{
    const auto row = columns<Fault, int, QByteArray, Error>("fault", "status", "body", "error");
    const Error none = QNetworkReply::NoError;
    const Error serverError = QNetworkReply::InternalServerError;
    const Error broken = QNetworkReply::RemoteHostClosedError;
    row("none", {}, 200, Envelope, none);
    row("status keeps the body", {.status = 500}, 500, Envelope, serverError);
    row("broken JSON", {.body = R"({"code":0,)"}, 200, R"({"code":0,)", none);
    row("empty body", {.body = ""}, 200, "", none);
    row("HTML with a status", {.status = 502, .body = "<html>", .contentType = "text/html"}, 502, "<html>",
        QNetworkReply::UnknownServerError);
    row("bytes that are not UTF-8", {.body = "\xff\xfe"}, 200, "\xff\xfe", none);
    row("dropped before the answer", {.drop = Drop::BeforeAnswer}, 0, "", broken);
    row("dropped before the answer, late", {.delay = 50ms, .drop = Drop::BeforeAnswer}, 0, "", broken);
    row("dropped in the body", {.body = "12345678", .drop = Drop::MidBody}, 200, "1234", broken);
    row("dropped in an empty body", {.body = "", .drop = Drop::MidBody}, 200, "", broken);
}

void tst_DevServer::faultChangesTheAnswer()
{
    QFETCH(Fault, fault);
    server().faults().set("GET", QString::fromLatin1(CatalogPath), fault);
    for (int i = 0; i < 2; ++i) {
        const Reply reply = send("GET", CatalogPath);
        QTEST(reply.status, "status");
        QTEST(reply.body, "body");
        QTEST(reply.error, "error");
        if (reply.status != 0)
            QCOMPARE(reply.header("Content-Type"), fault.contentType.value_or("application/json; charset=utf-8"));
    }
    QCOMPARE(send("GET", "/other").status, 404);
    server().faults().clear();
    QCOMPARE(send("GET", CatalogPath).body, Envelope);
}

void tst_DevServer::delayHoldsTheAnswerBackWhileOthersAreServed()
{
    server().faults().set("GET", QString::fromLatin1(CatalogPath), {.delay = 300ms});
    QElapsedTimer timer;
    timer.start();
    const auto delayed = m_client->begin("GET", CatalogPath);
    QSignalSpy recorded(&server(), &DevServer::requestRecorded);
    QVERIFY(recorded.wait());
    QCOMPARE(send("GET", "/other").status, 404);
    QVERIFY(!delayed->isFinished());
    QTRY_VERIFY(delayed->isFinished());
    QVERIFY(timer.elapsed() >= 300);
    QCOMPARE(delayed->readAll(), Envelope);
}

void tst_DevServer::requestAbandonedDuringItsDelayDoesNoHarm()
{
    server().faults().set("GET", QString::fromLatin1(CatalogPath), {.delay = 100ms});
    auto abandoned = m_client->begin("GET", CatalogPath);
    QSignalSpy recorded(&server(), &DevServer::requestRecorded);
    QVERIFY(recorded.wait());
    abandoned.reset();
    QCOMPARE(send("GET", CatalogPath).body, Envelope); // ends after the abandoned one would have
}

void tst_DevServer::faultLastsForTheNextRequestsOnly()
{
    server().faults().set("GET", QString::fromLatin1(CatalogPath), {.status = 503}, 2);
    QList<int> statuses;
    for (int i = 0; i < 4; ++i)
        statuses.append(send("GET", CatalogPath).status);
    QCOMPARE(statuses, QList<int>({503, 503, 200, 200}));
}

void tst_DevServer::everyRequestIsRecordedWhole()
{
    const QByteArray body(3 * 1024 * 1024, 'x');
    send("GET", CatalogPath);
    m_client->send("POST", "/api/v1/a%20b?x=1%262&y=", body, {{"Authorization", "Bearer 令牌"}});
    QCOMPARE(server().requests().size(), 2);
    QCOMPARE(server().requests().first().path, QString::fromLatin1(CatalogPath));
    const Request &post = server().requests().last();
    QCOMPARE(post.method, "POST");
    QCOMPARE(post.path, u"/api/v1/a b"_s);
    QCOMPARE(post.query, u"x=1%262&y="_s);
    QCOMPARE(post.header("AUTHORIZATION"), "Bearer 令牌");
    QCOMPARE(post.header("Cookie"), QByteArray());
    QVERIFY(post.body == body);
}

void tst_DevServer::controlEndpointsSwitchFaultsAndListRequests()
{
    const QByteArray fault =
        R"({"path":"/api/v1/software/catalog","delayMs":1,"status":500,"body":"oops","contentType":"text/plain"})";
    QCOMPARE(send("POST", FaultsPath, fault).body, R"({"code":0,"message":"ok","data":null})");
    const Reply faulty = send("GET", CatalogPath);
    QCOMPARE(faulty.status, 500);
    QCOMPARE(faulty.body, "oops");
    QCOMPARE(faulty.header("Content-Type"), "text/plain");

    send("POST", FaultsPath, R"({"method":"POST","path":"/a","times":5,"status":200,"drop":"midBody"})");
    QCOMPARE(send("POST", "/a", "\xff令").error, QNetworkReply::RemoteHostClosedError);
    QCOMPARE(send("DELETE", FaultsPath).status, 200);
    QCOMPARE(send("GET", CatalogPath).status, 200);

    const JSON list = JSON::parse(send("GET", "/_control/requests").body.toStdString())["data"];
    QCOMPARE(list.size(), 3u);
    QCOMPARE(list[1]["method"].get<std::string>(), "POST");
    QCOMPARE(list[1]["path"].get<std::string>(), "/a");
    QCOMPARE(list[1]["body"].get<std::string>(), "\uFFFD令");
}

void tst_DevServer::badOrderIsRefusedAndChangesNothing_data()
{
    const auto row = columns<QByteArray, QByteArray, QString, int>("path", "body", "message", "status");
    const QString noObject = u"请求体不是 JSON 对象"_s;
    const auto badKey = [](const char *key) { return u"键 %1 未知、缺失或取值不对"_s.arg(QLatin1String(key)); };
    const auto fault = [](const char *keys) {
        return R"({"path":"/api/v1/software/catalog","status":500,)" + QByteArray(keys) + '}';
    };
    row("no JSON", "faults", "delay", noObject, 400);
    row("no object", "tokens", R"(["expire"])", noObject, 400);
    row("no path", "faults", R"({"status":500})", badKey("path"), 400);
    row("control path", "faults", R"({"path":"/_control/faults"})", badKey("path"), 400);
    row("unknown key", "faults", fault(R"("satus":500)"), badKey("satus"), 400);
    row("text for a number", "faults", fault(R"("times":"1")"), badKey("times"), 400);
    row("fraction", "faults", fault(R"("delayMs":1.5)"), badKey("delayMs"), 400);
    row("negative delay", "faults", fault(R"("delayMs":-1)"), badKey("delayMs"), 400);
    row("no times", "faults", fault(R"("times":0)"), badKey("times"), 400);
    row("number past 64 bits", "faults", fault(R"("times":18446744073709551617)"), badKey("times"), 400);
    row("no HTTP status", "faults", R"({"path":"/","status":99})", badKey("status"), 400);
    row("number for text", "faults", fault(R"("body":5)"), badKey("body"), 400);
    row("unknown drop", "faults", fault(R"("drop":"never")"), badKey("drop"), 400);
    row("login ending unknown", "login", R"({"ending":"popup"})", badKey("ending"), 400);
    row("no login ending", "login", "{}", badKey("ending"), 400);
    row("login ending and more", "login", R"({"ending":"meta","x":1})", badKey("x"), 400);
    row("no action", "tokens", R"({"userId":"u2"})", badKey("action"), 400);
    row("misspelt user", "tokens", R"({"action":"expire","user":"u2"})", badKey("user"), 400);
    row("tokens of nobody", "tokens", R"({"action":"expire","userId":""})", u"没有这个账户："_s, 404);
    row("bot shown in an unknown way", "qqbot", R"({"appId":"1","show":"popup"})", badKey("show"), 400);
    row("text for a flag", "qqbot", R"({"appId":"1","created":"true"})", badKey("created"), 400);
    row("bot and more", "qqbot", R"({"appId":"1","secret":"x"})", badKey("secret"), 400);
    row("image that is not there", "update", R"({"build":2,"file":"none"})", u"无法读取更新镜像 none：文件不存在"_s,
        404);
    row("no build", "update", R"({"version":"3","build":0})", badKey("build"), 400);
    row("negative rate", "update", R"({"build":2,"bytesPerSecond":-1})", badKey("bytesPerSecond"), 400);
    row("fate unknown", "orders", R"({"next":"lost"})", badKey("next"), 400);
    row("no fate", "orders", "{}", badKey("next"), 400);
    row("order without status", "orders", R"({"orderNo":"VX1"})", badKey("status"), 400);
    row("order pending again", "orders", R"({"orderNo":"VX1","status":"pending"})", badKey("status"), 400);
    row("order unknown", "orders", R"({"orderNo":"VX1","status":"paid","next":"failing"})", u"没有这个订单：VX1"_s,
        404);
    row("no count", "history", "{}", badKey("count"), 400);
    row("count of nothing", "history", R"({"count":0})", badKey("count"), 400);
    row("count too large", "history", R"({"count":18446744073709551615})", badKey("count"), 400);
    row("history of nobody", "history", R"({"count":5,"userId":"u3"})", badKey("userId"), 400);
    row("balance below nothing", "balance", R"({"tokens":-1})", badKey("tokens"), 400);
    row("balance of nobody", "balance", R"({"tokens":1,"userId":""})", badKey("userId"), 400);
}

void tst_DevServer::badOrderIsRefusedAndChangesNothing()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, body);
    ServerState &state = m_client->state();
    const QString token = state.accounts.issueToken(Second);
    const Reply reply = m_client->control(path, body);
    QTEST(reply.status, "status");
    QVERIFY(reply.json()["code"] == reply.status);
    QTEST(text(reply.json()["message"]), "message");

    QCOMPARE(send("GET", CatalogPath).status, 200);
    QVERIFY(state.accounts.accountOfToken(token));
    QCOMPARE(state.loginEnding, LoginEnding::Script);
    QCOMPARE(state.qqBot.appId, QQBot().appId);
    QVERIFY(!state.update);
    QCOMPARE(state.orders.nextFate, OrderFate::Payable);
    QVERIFY(state.ledger.entries(First.userId).isEmpty() && state.ledger.entries(Second.userId).isEmpty());
}

QTEST_GUILESS_MAIN(tst_DevServer)
#include "tst_DevServer.moc"
