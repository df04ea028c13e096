#include "DevServer.h"
#include "Support/Scratch.h"
#include "Utilities/Log.h"

#include <QTcpServer>
#include <QTcpSocket>

using namespace std::chrono_literals;

namespace {

const QString catalogPath = QStringLiteral("/api/v1/software/catalog");

/// A dev server on a free port and the services of a scratch home that talk to it.
struct Fixture {
    devserver::DevServer server{devserver::ServerState{}};
    Scratch scratch{server.start(0).value()};

    /// How a call ends that decodes the envelope's data as text.
    QString describe(const QString &path = QStringLiteral("/software/catalog"))
    {
        const auto response = QCoro::waitFor(scratch.api.get(path, decodeText));
        if (!response)
            return response.error().description();
        return QStringLiteral("%1 %2 %3")
            .arg(response->code)
            .arg(response->message, response->data.value_or(QStringLiteral("(none)")));
    }
};

} // namespace

class tst_APIService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answer_data();
    void answer();
    void serverThatIsDown();
    void connectionThatBreaksOff();
    void sentRequest();
    void serverCatalog_data();
    void serverCatalog();
};

void tst_APIService::answer_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("data") << 200 << QByteArray(R"({"code":0,"message":"ok","data":"d","extra":1})") << "0 ok d";
    QTest::newRow("null data") << 200 << QByteArray(R"({"code":0,"message":"ok","data":null})") << "0 ok (none)";
    QTest::newRow("no data, code of the server's own")
        << 201 << QByteArray(R"({"message":"no","code":5})") << "5 no (none)";
    QTest::newRow("no message") << 200 << QByteArray(R"({"code":0})") << "数据解析错误: 字段 “message” 缺失";
    QTest::newRow("code is text") << 200 << QByteArray(R"({"code":"0","message":"ok"})")
                                  << "数据解析错误: 字段 “code” 应为整数";
    QTest::newRow("code is fractional") << 200 << QByteArray(R"({"code":1.5,"message":"ok"})")
                                        << "数据解析错误: 字段 “code” 应为整数";
    QTest::newRow("code is a boolean") << 200 << QByteArray(R"({"code":true,"message":"ok"})")
                                       << "数据解析错误: 字段 “code” 应为整数";
    QTest::newRow("data of another type")
        << 200 << QByteArray(R"({"code":0,"message":"ok","data":[]})") << "数据解析错误: 字段 “data” 应为文本";
    QTest::newRow("unauthorised whatever the body")
        << 401 << QByteArray(R"({"code":0,"message":"ok"})") << "认证过期，请重新登录";
    QTest::newRow("server error") << 500 << QByteArray("oops %1") << "HTTP 500: oops %1";
    QTest::newRow("not found, body not UTF-8") << 404 << QByteArray("\xff") << "HTTP 404: ";
}

void tst_APIService::answer()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    Fixture fixture;
    fixture.server.faults().set("GET", catalogPath, {.status = status, .body = body});
    QTEST(fixture.describe(), "outcome");

    for (const char *html : {"", "<html></html>"}) {
        fixture.server.faults().set("GET", catalogPath, {.body = html});
        QVERIFY(fixture.describe().startsWith(QStringLiteral("数据解析错误: ")));
    }
}

void tst_APIService::serverThatIsDown()
{
    QTcpServer nobody;
    QVERIFY(nobody.listen(QHostAddress::LocalHost));
    const QString origin = QStringLiteral("http://127.0.0.1:%1").arg(nobody.serverPort());
    nobody.close();
    Scratch scratch(origin);
    const auto response = QCoro::waitFor(scratch.api.get(QStringLiteral("/x"), decodeText));
    QVERIFY(!response);
    QCOMPARE(response.error().description(), QStringLiteral("网络错误: 无法连接到服务器"));

    const auto badURL = QCoro::waitFor(Scratch(QStringLiteral("http://[")).api.get(QStringLiteral("/x"), decodeText));
    QCOMPARE(badURL.error().description(), QStringLiteral("无效的 URL"));
}

void tst_APIService::connectionThatBreaksOff()
{
    Fixture fixture;
    for (const auto drop : {devserver::Drop::BeforeAnswer, devserver::Drop::MidBody}) {
        fixture.server.faults().set("GET", catalogPath, {.drop = drop});
        QVERIFY2(fixture.describe().startsWith(QStringLiteral("网络错误: ")), qUtf8Printable(fixture.describe()));
    }
}

void tst_APIService::sentRequest()
{
    Fixture fixture;
    fixture.describe();
    const auto &anonymous = fixture.server.requests().last();
    QCOMPARE(anonymous.header("Content-Type"), "application/json");
    QCOMPARE(anonymous.header("Authorization"), "");

    fixture.scratch.keychain.save(QStringLiteral("auth_token"), QStringLiteral("t0ken"));
    const auto answer = QCoro::waitFor(
        fixture.scratch.api.post(QStringLiteral("/software/catalog?x=1"), R"({"b":1,"a":2})", decodeText));
    QCOMPARE(answer.error().kind(), APIError::Kind::HTTPError);
    fixture.scratch.keychain.remove(QStringLiteral("auth_token"));
    const auto &posted = fixture.server.requests().last();
    QCOMPARE(posted.method, "POST");
    QCOMPARE(posted.path, catalogPath);
    QCOMPARE(posted.query, QStringLiteral("x=1"));
    QCOMPARE(posted.body, R"({"b":1,"a":2})");
    QCOMPARE(posted.header("Authorization"), "Bearer t0ken");
}

void tst_APIService::serverCatalog_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("count"); // -1 for none
    QTest::addColumn<QByteArray>("log");
    const auto envelope = [](const QByteArray &data) { return R"({"code":0,"message":"ok","data":)" + data + '}'; };
    const QByteArray two = SoftwareCatalog::encode({testEntry(QStringLiteral("a")), testEntry(QStringLiteral("b"))});
    QTest::newRow("two") << envelope(two) << 2 << QByteArray("[Catalog] 从服务端加载 2 个软件\n");
    QTest::newRow("empty") << envelope("[]") << -1 << QByteArray();
    QTest::newRow("no data") << QByteArray(R"({"code":0,"message":"ok"})") << -1 << QByteArray();
    QTest::newRow("one bad entry")
        << envelope(QByteArray(two).replace("\"tool\"", "\"tools\"")) << -1
        << QByteArray(
               "[Catalog] 服务端加载失败: 数据解析错误: 字段 “data” 第 1 项：字段 “category” 的值 “tools” 未知\n");
}

void tst_APIService::serverCatalog()
{
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, log);
    Fixture fixture;
    fixture.server.faults().set("GET", catalogPath, {.body = body});
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *const stream = ::open_memstream(&text, &size);
    Log::setStream(stream);
    const auto entries = QCoro::waitFor(fixture.scratch.catalog.loadFromServer());
    Log::setStream(stdout);
    std::fclose(stream);
    const std::unique_ptr<char, void (*)(void *)> owner(text, std::free);
    QTEST(entries ? int(entries->size()) : -1, "count");
    QCOMPARE(QByteArray(text, qsizetype(size)), log);
}

QTEST_GUILESS_MAIN(tst_APIService)
#include "tst_APIService.moc"
