#include "Client.h"
#include "Seed.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace devserver;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(devserver::Fault)

namespace {

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
        m_client = std::make_unique<Client>(ServerState{.catalog = JSON::parse(R"([{"id":"ollama","order":1.5}])")});
    }
    void catalogAnswersInTheEnvelopeWithKeysInOrder();
    void embeddedCatalogIsServed();
    void unknownRoutesAnswer404InTheEnvelope_data();
    void unknownRoutesAnswer404InTheEnvelope();
    void faultChangesTheAnswer_data();
    void faultChangesTheAnswer();
    void delayHoldsTheAnswerBackWhileOthersAreServed();
    void requestAbandonedDuringItsDelayDoesNoHarm();
    void droppedConnectionFailsTheRequest_data();
    void droppedConnectionFailsTheRequest();
    void faultLastsForTheNextRequestsOnly();
    void everyRequestIsRecordedWhole();
    void controlEndpointsSwitchFaultsAndListRequests();
    void badControlRequestIsRefusedAndChangesNothing_data();
    void badControlRequestIsRefusedAndChangesNothing();

private:
    Reply send(const QByteArray &method, const QByteArray &path, const QByteArray &body = {})
    {
        return m_client->send(method, path, body);
    }
    DevServer &server() { return m_client->server(); }

    std::unique_ptr<Client> m_client;
};

void tst_DevServer::catalogAnswersInTheEnvelopeWithKeysInOrder()
{
    const Reply reply = send("GET", CatalogPath);
    QCOMPARE(reply.status, 200);
    QCOMPARE(reply.header("Content-Type"), "application/json; charset=utf-8");
    QCOMPARE(reply.body, Envelope);
}

void tst_DevServer::embeddedCatalogIsServed()
{
    auto state = readSeed(embeddedCatalog());
    QVERIFY2(state, qPrintable(state ? QString() : state.error()));
    server().state() = *state;
    const JSON envelope = JSON::parse(send("GET", CatalogPath).body.toStdString());
    QVERIFY(!envelope["data"].empty());
    QVERIFY(envelope["data"] == state->catalog);
}

void tst_DevServer::unknownRoutesAnswer404InTheEnvelope_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("path") << QByteArray("GET") << QByteArray("/api/v1/nothing")
                          << QByteArray(R"({"code":404,"message":"没有这个地址：GET /api/v1/nothing"})");
    QTest::newRow("method") << QByteArray("POST") << QByteArray(CatalogPath)
                            << QByteArray(R"({"code":404,"message":"没有这个地址：POST /api/v1/software/catalog"})");
    QTest::newRow("control") << QByteArray("PUT") << QByteArray(FaultsPath)
                             << QByteArray(R"({"code":404,"message":"没有这个控制接口：PUT /_control/faults"})");
}

void tst_DevServer::unknownRoutesAnswer404InTheEnvelope()
{
    QFETCH(QByteArray, method);
    QFETCH(QByteArray, path);
    const Reply reply = send(method, path);
    QCOMPARE(reply.status, 404);
    QTEST(reply.body, "body");
}

void tst_DevServer::faultChangesTheAnswer_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("status keeps the body") << Fault{.status = 500} << 500 << QByteArray(Envelope);
    QTest::newRow("broken JSON") << Fault{.body = R"({"code":0,)"} << 200 << QByteArray(R"({"code":0,)");
    QTest::newRow("empty body") << Fault{.body = ""} << 200 << QByteArray();
    QTest::newRow("HTML with a status") << Fault{.status = 502, .body = "<html>", .contentType = "text/html"} << 502
                                        << QByteArray("<html>");
    QTest::newRow("bytes that are not UTF-8") << Fault{.body = "\xff\xfe"} << 200 << QByteArray("\xff\xfe");
}

void tst_DevServer::faultChangesTheAnswer()
{
    QFETCH(Fault, fault);
    server().faults().set("GET", QString::fromLatin1(CatalogPath), fault);
    for (int i = 0; i < 2; ++i) {
        const Reply reply = send("GET", CatalogPath);
        QTEST(reply.status, "status");
        QTEST(reply.body, "body");
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

void tst_DevServer::droppedConnectionFailsTheRequest_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("before the answer") << Fault{.drop = Drop::BeforeAnswer} << 0 << QByteArray();
    QTest::newRow("before the answer, late") << Fault{.delay = 50ms, .drop = Drop::BeforeAnswer} << 0 << QByteArray();
    QTest::newRow("in the body") << Fault{.body = "12345678", .drop = Drop::MidBody} << 200 << QByteArray("1234");
    QTest::newRow("in an empty body") << Fault{.body = "", .drop = Drop::MidBody} << 200 << QByteArray();
}

void tst_DevServer::droppedConnectionFailsTheRequest()
{
    QFETCH(Fault, fault);
    server().faults().set("GET", QString::fromLatin1(CatalogPath), fault);
    const Reply reply = send("GET", CatalogPath);
    QCOMPARE(reply.error, QNetworkReply::RemoteHostClosedError);
    QTEST(reply.status, "status");
    QTEST(reply.body, "body");
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
    QCOMPARE(post.path, QStringLiteral("/api/v1/a b"));
    QCOMPARE(post.query, QStringLiteral("x=1%262&y="));
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

void tst_DevServer::badControlRequestIsRefusedAndChangesNothing_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    const auto badKey = [](const char *key) {
        return QStringLiteral("键 %1 未知、缺失或取值不对").arg(QLatin1String(key));
    };
    const auto row = [](const char *keys) {
        return R"({"path":"/api/v1/software/catalog","status":500,)" + QByteArray(keys) + '}';
    };
    const QString badPath = badKey("path");
    QTest::newRow("no JSON") << QByteArray("delay") << QStringLiteral("请求体不是 JSON 对象");
    QTest::newRow("no object") << QByteArray("[]") << QStringLiteral("请求体不是 JSON 对象");
    QTest::newRow("no path") << QByteArray(R"({"status":500})") << badPath;
    QTest::newRow("control path") << QByteArray(R"({"path":"/_control/faults"})") << badPath;
    QTest::newRow("unknown key") << row(R"("satus":500)") << badKey("satus");
    QTest::newRow("text for a number") << row(R"("times":"1")") << badKey("times");
    QTest::newRow("fraction") << row(R"("delayMs":1.5)") << badKey("delayMs");
    QTest::newRow("negative delay") << row(R"("delayMs":-1)") << badKey("delayMs");
    QTest::newRow("no times") << row(R"("times":0)") << badKey("times");
    QTest::newRow("number past 64 bits") << row(R"("times":18446744073709551617)") << badKey("times");
    QTest::newRow("no HTTP status") << QByteArray(R"({"path":"/","status":99})") << badKey("status");
    QTest::newRow("number for text") << row(R"("body":5)") << badKey("body");
    QTest::newRow("unknown drop") << row(R"("drop":"never")") << badKey("drop");
}

void tst_DevServer::badControlRequestIsRefusedAndChangesNothing()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    const Reply reply = send("POST", FaultsPath, body);
    QCOMPARE(reply.status, 400);
    const JSON envelope = JSON::parse(reply.body.toStdString());
    QCOMPARE(envelope["code"].get<int>(), 400);
    QCOMPARE(QString::fromStdString(envelope["message"].get<std::string>()), message);
    QCOMPARE(send("GET", CatalogPath).status, 200);
}

QTEST_GUILESS_MAIN(tst_DevServer)
#include "tst_DevServer.moc"
