#include "DevServer.h"
#include "Platform/HTTPSession.h"
#include "Support/Table.h"

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Answer = std::expected<HTTPResponse, HTTPError>;

constexpr HTTPSession::Limits roomy{.silence = 20s, .exchange = 30s};
const QString path = u"/x"_s;
const QString notSentAgain = u"服务器没有给出应答；为避免重复，请求未再次发送"_s;

/// "200 the body", or why there is no answer.
QString describe(const Answer &answer)
{
    if (!answer)
        return answer.error().description;
    return QString::number(answer->status) + u' ' + QString::fromUtf8(answer->body);
}

/// A server that answers the first requests of each connection and closes it at the next one.
class BreakingServer : public QObject
{
public:
    explicit BreakingServer(int answersPerConnection)
        : m_answersPerConnection(answersPerConnection)
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *const socket = m_server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { receive(*socket); });
        });
    }

    QUrl url() const { return QUrl(u"http://127.0.0.1:%1/x"_s.arg(m_server.serverPort())); }

    /// First lines of everything that came in.
    QByteArrayList requests;

private:
    void receive(QTcpSocket &socket)
    {
        if (!socket.peek(64 * 1024).contains("\r\n\r\n"))
            return;
        requests.append(socket.readLine().trimmed());
        socket.readAll();
        const int answered = socket.property("answered").toInt();
        if (answered == m_answersPerConnection) {
            socket.close();
            return;
        }
        socket.setProperty("answered", answered + 1);
        socket.write("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    }

    const int m_answersPerConnection;
    QTcpServer m_server;
};

/// Sends on behalf of something that may go; tells when its coroutine has gone.
QCoro::Task<> sendAndTell(HTTPSession *session, QUrl url, QByteArray method, std::shared_ptr<QString> outcome)
{
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/json");
    *outcome = describe(co_await session->send(request, method, "body"));
}

} // namespace

class tst_HTTPSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPostIsSentOnce_data();
    void aPostIsSentOnce();
    void redirection_data();
    void redirection();
    void redirectionInACircle();
    void body_data();
    void body();
    void compressedBody_data();
    void compressedBody();
    void serverThatIsSilent();
    void serverThatIsSlow();
    void sessionThatEndsMeanwhile_data();
    void sessionThatEndsMeanwhile();

private:
    /// Sends with a token; the server's address stands for %1.
    QString send(const QByteArray &method, const QString &address = u"%1/x"_s,
                 qsizetype bodyLimit = HTTPSession::defaultBodyLimit);

    devserver::DevServer m_server{devserver::ServerState{}};
    const QString m_origin = m_server.start(0).value();
};

QString tst_HTTPSession::send(const QByteArray &method, const QString &address, qsizetype bodyLimit)
{
    HTTPSession session(roomy);
    QNetworkRequest request{QUrl(address.contains(u'%') ? address.arg(m_origin) : address)};
    request.setRawHeader("Content-Type", "application/json");
    request.setRawHeader("Authorization", "Bearer t0ken");
    return describe(QCoro::waitFor(session.send(request, method, "secret", bodyLimit)));
}

void tst_HTTPSession::aPostIsSentOnce_data()
{
    const auto row = columns<int, QByteArray, QString, int>("answersPerConnection", "body", "outcome", "posts");
    row("connection breaks before the answer", 0, "order", notSentAgain, 1);
    row("the same, without a body", 0, "", notSentAgain, 1);
    // The POST does not take the connection that the GET has left, which would break.
    row("idle connection has gone", 1, "order", u"200 ok"_s, 1);
}

void tst_HTTPSession::aPostIsSentOnce()
{
    QFETCH(int, answersPerConnection);
    QFETCH(QByteArray, body);
    BreakingServer server(answersPerConnection);
    HTTPSession session(roomy);
    QNetworkRequest request(server.url());
    request.setRawHeader("Content-Type", "application/json");
    if (answersPerConnection > 0)
        QCOMPARE(describe(QCoro::waitFor(session.send(request, "GET", {}))), u"200 ok"_s);
    QTEST(describe(QCoro::waitFor(session.send(request, "POST", body))), "outcome");
    QTEST(int(server.requests.count("POST /x HTTP/1.1")), "posts");
    // A GET may be tried again, and is.
    if (answersPerConnection > 0)
        QCOMPARE(describe(QCoro::waitFor(session.send(request, "GET", {}))), u"200 ok"_s);
}

void tst_HTTPSession::redirection_data()
{
    // sent: what reaches the address that the redirection names
    const auto row =
        columns<QByteArray, int, QByteArray, QString, QByteArray>("method", "status", "location", "outcome", "sent");
    row("within the origin", "GET", 302, "/y?z=1", u"200 arrived"_s, "GET Bearer t0ken ");
    row("whole address", "GET", 308, "%1/y?z=1", u"200 arrived"_s, "GET Bearer t0ken ");
    row("POST becomes GET", "POST", 303, "/y?z=1", u"200 arrived"_s, "GET Bearer t0ken ");
    row("POST again", "POST", 307, "/y?z=1", notSentAgain, "");
    row("another port", "GET", 302, "%2/y?z=1", u"302 moved"_s, "");
    row("another port, POST", "POST", 307, "%2/y?z=1", notSentAgain, "");
    row("another host", "GET", 301, "%3/y?z=1", u"301 moved"_s, "");
    row("another host, POST", "POST", 308, "%3/y?z=1", notSentAgain, "");
    row("another host, POST becomes GET", "POST", 302, "%3/y?z=1", u"302 moved"_s, "");
    row("another scheme", "GET", 302, "x-vaelix://callback", u"302 moved"_s, "");
    row("nowhere", "GET", 302, "", u"302 moved"_s, "");
}

void tst_HTTPSession::redirection()
{
    QFETCH(QByteArray, method);
    QFETCH(int, status);
    QFETCH(QByteArray, location);
    devserver::DevServer other{devserver::ServerState{}};
    const QByteArray otherOrigin = other.start(0).value().toLatin1();
    const QByteArray origin = m_origin.toLatin1();
    const QByteArray sameServer = QByteArray(origin).replace("127.0.0.1", "localhost");
    location.replace("%1", origin).replace("%2", otherOrigin).replace("%3", sameServer);
    const devserver::Fault redirect{.status = status, .body = "moved", .headers = {{"Location", location}}};
    m_server.faults().clear();
    m_server.faults().set(method, path, redirect);
    for (auto *const server : {&m_server, &other})
        for (const char *each : {"GET", "POST"})
            server->faults().set(each, u"/y"_s, {.status = 200, .body = "arrived"});
    const qsizetype before = m_server.requests().size();
    QTEST(send(method), "outcome");

    QVERIFY(other.requests().isEmpty());
    const auto requests = m_server.requests().sliced(before + 1);
    QByteArray sent;
    for (const auto &request : requests)
        sent += request.method + ' ' + request.header("Authorization") + ' ' + request.body;
    QTEST(sent, "sent");
}

void tst_HTTPSession::redirectionInACircle()
{
    m_server.faults().set("GET", path, {.status = 302, .body = "round", .headers = {{"Location", "/x"}}});
    const qsizetype before = m_server.requests().size();
    QCOMPARE(send("GET"), u"302 round"_s);
    QVERIFY(m_server.requests().size() - before < 20);
}

void tst_HTTPSession::body_data()
{
    const auto row = columns<qint64, bool, qsizetype, bool>("length", "isAnnounced", "limit", "isTaken");
    constexpr qint64 gigabyte = 1'000'000'000;
    constexpr qint64 endless = std::numeric_limits<qint64>::max();
    for (const bool isAnnounced : {true, false}) {
        const auto name = [&](const char *text) { return text + QByteArray(isAnnounced ? "" : ", unannounced"); };
        row(name("as long as may be"), 4'000'000, isAnnounced, 4'000'000, true);
        row(name("a byte more"), 4'000'001, isAnnounced, 4'000'000, false);
        row(name("a gigabyte"), gigabyte, isAnnounced, HTTPSession::defaultBodyLimit, false);
        row(name("no end"), endless, isAnnounced, HTTPSession::defaultBodyLimit, false);
    }
}

void tst_HTTPSession::body()
{
    QFETCH(qint64, length);
    QFETCH(bool, isAnnounced);
    QFETCH(qsizetype, limit);
    QFETCH(bool, isTaken);
    m_server.faults().set("GET", path,
                          {.status = 200, .body = "0123456789", .length = length, .announcesLength = isAnnounced});
    const QString outcome = send("GET", u"%1/x"_s, limit);
    if (isTaken)
        QVERIFY(outcome == u"200 "_s + u"0123456789"_s.repeated(length / 10));
    else
        QVERIFY2(outcome.startsWith(u"服务器返回的内容过大（超过 4."_s), qPrintable(outcome.left(100)));
}

void tst_HTTPSession::compressedBody_data()
{
    const auto row = columns<qsizetype, QString>("length", "outcome");
    row("as long as may be", 4'000'000, u"200 "_s + QString(4'000'000, u'x'));
    row("a byte more", 4'000'001, u"服务器返回的内容过大（超过 4.0 MB）"_s);
    row("ten times as long", 40'000'000, u"服务器返回的内容无法解压"_s); // refused by Qt before it is unpacked
}

void tst_HTTPSession::compressedBody()
{
    QFETCH(qsizetype, length);
    const QByteArray deflated = qCompress(QByteArray(length, 'x')).sliced(4); // behind the length, which is Qt's own
    m_server.faults().set("GET", path, {.status = 200, .body = deflated, .headers = {{"Content-Encoding", "deflate"}}});
    QTEST(send("GET", u"%1/x"_s, 4'000'000), "outcome");
}

void tst_HTTPSession::serverThatIsSilent()
{
    m_server.faults().set("GET", path, {.delay = 10min});
    const QDeadlineTimer inTime(10s);
    HTTPSession session({.silence = 200ms, .exchange = 20s});
    const Answer answer = QCoro::waitFor(session.send(QNetworkRequest(QUrl(m_origin + path)), "GET", {}));
    QCOMPARE(describe(answer), u"请求超时"_s);
    QVERIFY(!inTime.hasExpired());
}

/// Each byte comes in time, all of them do not.
void tst_HTTPSession::serverThatIsSlow()
{
    QTcpServer slow;
    QVERIFY(slow.listen(QHostAddress::LocalHost));
    QTimer drip;
    connect(&slow, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *const socket = slow.nextPendingConnection();
        socket->write("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        connect(&drip, &QTimer::timeout, socket, [socket, left = 500]() mutable {
            socket->write("x");
            if (--left == 0)
                socket->close();
        });
        drip.start(20ms);
    });
    HTTPSession session({.silence = 10s, .exchange = 300ms});
    const QUrl url(u"http://127.0.0.1:%1/"_s.arg(slow.serverPort()));
    QCOMPARE(describe(QCoro::waitFor(session.send(QNetworkRequest(url), "GET", {}))), u"请求超时"_s);
}

void tst_HTTPSession::sessionThatEndsMeanwhile_data()
{
    const auto row = columns<QByteArray>("method");
    row("GET", "GET");
    row("POST", "POST");
}

void tst_HTTPSession::sessionThatEndsMeanwhile()
{
    QFETCH(QByteArray, method);
    m_server.faults().set(method, path, {.delay = 10min});
    const auto outcome = std::make_shared<QString>();
    {
        HTTPSession session(roomy);
        const qsizetype before = m_server.requests().size();
        sendAndTell(&session, QUrl(m_origin + path), method, outcome);
        QTRY_COMPARE(m_server.requests().size(), before + 1);
        QCOMPARE(outcome.use_count(), 2);
    }
    QCOMPARE(*outcome, u"请求已取消"_s);
    QCOMPARE(outcome.use_count(), 1); // nothing waits any more
}

QTEST_GUILESS_MAIN(tst_HTTPSession)
#include "tst_HTTPSession.moc"
