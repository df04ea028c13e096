#include "Support/Served.h"
#include "Support/Table.h"
#include "Utilities/Log.h"

#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString catalogPath = u"/api/v1/software/catalog"_s;

struct Fixture : Served {
    explicit Fixture(HTTPSession::Limits limits = {.silence = 10s, .exchange = 10s})
        : api(origin + u"/api/v1"_s, scratch.keychain, limits)
    {
    }

    APIService api;

    /// How a call ends that decodes the envelope's data as text.
    QString describe(const QString &path = u"/software/catalog"_s)
    {
        const auto response = QCoro::waitFor(api.get(path, decodeText));
        if (!response)
            return response.error().description();
        return u"%1 %2 %3"_s.arg(response->code).arg(response->message, response->data.value_or(u"(none)"_s));
    }
};

/// Tells how many entries were loaded; lets go of `count` when its coroutine has gone.
QCoro::Task<> loadAndTell(SoftwareCatalogService *catalog, std::shared_ptr<qsizetype> count)
{
    *count = (co_await catalog->load()).size();
}

} // namespace

class tst_APIService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answer_data();
    void answer();
    void serverThatIsDown();
    void connectionThatBreaksOff();
    void serverThatIsSilent();
    void servicesThatGoMeanwhile();
    void sentRequest();
    void serverCatalog_data();
    void serverCatalog();
};

void tst_APIService::answer_data()
{
    const auto row = columns<int, QByteArray, QString>("status", "body", "outcome");
    row("data", 200, R"({"code":0,"message":"ok","data":"d","extra":1})", u"0 ok d"_s);
    row("null data", 200, R"({"code":0,"message":"ok","data":null})", u"0 ok (none)"_s);
    row("no data, code of the server's own", 201, R"({"message":"no","code":5})", u"5 no (none)"_s);
    row("no message", 200, R"({"code":0})", u"数据解析错误: 字段 “message” 缺失"_s);
    row("code is text", 200, R"({"code":"0","message":"ok"})", u"数据解析错误: 字段 “code” 应为整数"_s);
    row("code is fractional", 200, R"({"code":1.5,"message":"ok"})", u"数据解析错误: 字段 “code” 应为整数"_s);
    row("code is a boolean", 200, R"({"code":true,"message":"ok"})", u"数据解析错误: 字段 “code” 应为整数"_s);
    row("data of another type", 200, R"({"code":0,"message":"ok","data":[]})", u"数据解析错误: 字段 “data” 应为文本"_s);
    row("unauthorised whatever the body", 401, R"({"code":0,"message":"ok"})", u"认证过期，请重新登录"_s);
    row("redirection to nowhere", 302, "moved", u"HTTP 302: moved"_s);
    row("last of the successes", 299, R"({"code":0,"message":"ok"})", u"0 ok (none)"_s);
    row("first of the redirections", 300, R"({"code":0,"message":"ok"})", uR"(HTTP 300: {"code":0,"message":"ok"})"_s);
    row("server error", 500, "oops %1", u"HTTP 500: oops %1"_s);
    row("not found, body not UTF-8", 404, "\xff", u"HTTP 404: "_s);
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
        QVERIFY(fixture.describe().startsWith(u"数据解析错误: "_s));
    }
}

void tst_APIService::serverThatIsDown()
{
    QTcpServer nobody;
    QVERIFY(nobody.listen(QHostAddress::LocalHost));
    const QString origin = u"http://127.0.0.1:%1"_s.arg(nobody.serverPort());
    nobody.close();
    Scratch scratch(origin);
    const auto response = QCoro::waitFor(scratch.api.get(u"/x"_s, decodeText));
    QVERIFY(!response);
    QCOMPARE(response.error().description(), u"网络错误: 无法连接到服务器"_s);

    const auto badURL = QCoro::waitFor(Scratch(u"http://["_s).api.get(u"/x"_s, decodeText));
    QCOMPARE(badURL.error().description(), u"无效的 URL"_s);
}

void tst_APIService::connectionThatBreaksOff()
{
    Fixture fixture;
    for (const auto drop : {devserver::Drop::BeforeAnswer, devserver::Drop::MidBody}) {
        fixture.server.faults().set("GET", catalogPath, {.drop = drop});
        QCOMPARE(fixture.describe(), u"网络错误: 服务器中断了连接"_s);
    }
}

void tst_APIService::serverThatIsSilent()
{
    const QDeadlineTimer inTime(10s);
    Fixture fixture({.silence = 200ms, .exchange = 20s});
    fixture.server.faults().set("GET", catalogPath, {.delay = 10min});
    QCOMPARE(fixture.describe(), u"网络错误: 请求超时"_s);
    QVERIFY(!inTime.hasExpired());
}

void tst_APIService::servicesThatGoMeanwhile()
{
    auto fixture = std::make_unique<Fixture>();
    fixture->server.faults().set("GET", catalogPath, {.delay = 10min});
    const auto count = std::make_shared<qsizetype>(-1);
    loadAndTell(&fixture->scratch.catalog, count);
    QTRY_COMPARE(fixture->server.requests().size(), 1);
    QCOMPARE(count.use_count(), 2);
    fixture.reset();
    QCOMPARE(count.use_count(), 1);
    QCOMPARE(*count, 0);
}

void tst_APIService::sentRequest()
{
    Fixture fixture;
    fixture.describe();
    const auto &anonymous = fixture.server.requests().last();
    QCOMPARE(anonymous.header("Content-Type"), "application/json");
    QCOMPARE(anonymous.header("Authorization"), "");

    fixture.scratch.keychain.save(u"auth_token"_s, u"t0ken"_s);
    const auto answer = QCoro::waitFor(fixture.api.post(u"/software/catalog?x=1"_s, R"({"b":1,"a":2})", decodeText));
    QCOMPARE(answer.error().kind(), APIError::Kind::HTTPError);
    fixture.scratch.keychain.remove(u"auth_token"_s);
    const auto &posted = fixture.server.requests().last();
    QCOMPARE(posted.method, "POST");
    QCOMPARE(posted.path, catalogPath);
    QCOMPARE(posted.query, u"x=1"_s);
    QCOMPARE(posted.body, R"({"b":1,"a":2})");
    QCOMPARE(posted.header("Authorization"), "Bearer t0ken");
}

void tst_APIService::serverCatalog_data()
{
    // count: -1 for none
    const auto row = columns<QByteArray, int, QByteArray>("body", "count", "log");
    const QByteArray two = SoftwareCatalog::encode({testEntry(u"a"_s), testEntry(u"b"_s)});
    row("two", envelope(two), 2, "[Catalog] 从服务端加载 2 个软件\n");
    row("empty", envelope("[]"), -1, {});
    row("no data", R"({"code":0,"message":"ok"})", -1, {});
    SoftwareCatalogEntry wordy = testEntry(u"a"_s);
    wordy.description = QString(5'000'000, u'x');
    row("longer than other answers may be", envelope(SoftwareCatalog::encode({wordy})), 1,
        "[Catalog] 从服务端加载 1 个软件\n");
    row("too long", QByteArray(33 * 1024 * 1024, ' '), -1,
        "[Catalog] 服务端加载失败: 网络错误: 服务器返回的内容过大（超过 33.6 MB）\n");
    row("one bad entry", envelope(QByteArray(two).replace("\"tool\"", "\"tools\"")), -1,
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
