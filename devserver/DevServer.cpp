#include "DevServer.h"

#include "Control.h"
#include "Routes.h"
#include "Transmission.h"

#include <QHttpServerRequest>
#include <QMetaEnum>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace devserver {

namespace {

Request received(const QHttpServerRequest &request)
{
    const auto methods = QMetaEnum::fromType<QHttpServerRequest::Method>();
    return {.method = QByteArray(methods.valueToKey(static_cast<int>(request.method()))).toUpper(),
            .path = request.url().path(),
            .query = request.url().query(QUrl::FullyEncoded),
            .headers = request.headers(),
            .body = request.body()};
}

QString reason(const QTcpServer &server)
{
    switch (server.serverError()) {
    case QAbstractSocket::AddressInUseError:
        return QStringLiteral("端口已被占用");
    case QAbstractSocket::SocketAccessError:
        return QStringLiteral("没有使用这个端口的权限");
    default:
        return server.errorString();
    }
}

} // namespace

DevServer::DevServer(ServerState state, QObject *parent)
    : QAbstractHttpServer(parent)
    , m_state(std::move(state))
{
}

std::expected<QString, QString> DevServer::start(quint16 port)
{
    auto *server = new QTcpServer(this);
    if (!server->listen(QHostAddress::LocalHost, port))
        return std::unexpected(QStringLiteral("无法监听端口 %1：%2").arg(port).arg(reason(*server)));
    bind(server);
    return QStringLiteral("http://127.0.0.1:%1").arg(server->serverPort());
}

bool DevServer::handleRequest(const QHttpServerRequest &httpRequest, QTcpSocket *socket)
{
    const Request request = received(httpRequest);
    if (isControlPath(request.path))
        transmit(answerControl(request, m_state, m_faults, m_requests), Drop::Nowhere, socket);
    else
        answerWithFault(request, socket);
    return true;
}

void DevServer::missingHandler(const QHttpServerRequest &, QTcpSocket *)
{
    Q_UNREACHABLE(); // handleRequest() handles everything
}

Response DevServer::answer(const Request &request)
{
    if (const Route *route = findRoute(request.method, request.path))
        return route->answer(m_state, request);
    return failure(404, QStringLiteral("没有这个地址：%1 %2").arg(QString::fromUtf8(request.method), request.path));
}

void DevServer::answerWithFault(const Request &request, QTcpSocket *socket)
{
    m_requests.append(request);
    Q_EMIT requestRecorded();
    const Fault fault = m_faults.take(request.method, request.path);
    const Response response = fault.applyTo(answer(request));
    if (fault.delay.count() == 0) {
        transmit(response, fault.drop, socket);
        return;
    }
    QTimer::singleShot(fault.delay, socket, [=] { transmit(response, fault.drop, socket); });
}

} // namespace devserver
