#include "HTTPSession.h"

#include <QCoroNetworkReply>
#include <QNetworkReply>
#include <QTimer>
#include <memory>

QString describeFailure(const QNetworkReply &reply)
{
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("无法连接到服务器");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("服务器中断了连接");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("找不到服务器 %1").arg(reply.url().host());
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return QStringLiteral("请求超时");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral("无法与服务器建立安全连接");
    default:
        return reply.errorString();
    }
}

HTTPSession::HTTPSession(std::chrono::milliseconds resourceTimeout)
    : m_resourceTimeout(resourceTimeout)
{
}

QCoro::Task<std::expected<HTTPResponse, HTTPError>> HTTPSession::send(QNetworkRequest request, QByteArray method,
                                                                      QByteArray body)
{
    QNetworkReply *const started =
        method == "POST" ? m_manager.post(request, body) : m_manager.sendCustomRequest(request, method);
    const std::unique_ptr<QNetworkReply, void (*)(QObject *)> reply(started,
                                                                    [](QObject *object) { object->deleteLater(); });
    QTimer::singleShot(m_resourceTimeout, started, &QNetworkReply::abort);
    co_await started;

    const QVariant status = started->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    // Qt calls 4xx and 5xx errors as well; an answer with a status is an answer, if it came whole.
    const bool isCutOff =
        started->error() != QNetworkReply::NoError && started->error() < QNetworkReply::ContentAccessDenied;
    if (!status.isValid() || isCutOff)
        co_return std::unexpected(HTTPError{describeFailure(*started)});
    co_return HTTPResponse{status.toInt(), started->readAll()};
}
