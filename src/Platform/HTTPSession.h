#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <chrono>
#include <expected>

/// What came back from a server, whatever its status.
struct HTTPResponse {
    int status = 0;
    QByteArray body;
};

/// The request got no answer: a Chinese sentence saying why.
struct HTTPError {
    QString description;
};

/// Why a reply did not come whole, as a Chinese sentence. One that was ended from here had taken too long.
QString describeFailure(const QNetworkReply &reply);

/// Sends HTTP requests. Redirects are followed, except from https to http. Interface thread only.
class HTTPSession
{
public:
    /// `resourceTimeout` bounds a whole exchange; a request's own transfer time-out bounds each
    /// wait for data.
    explicit HTTPSession(std::chrono::milliseconds resourceTimeout);

    /// `body` is sent with POST only.
    QCoro::Task<std::expected<HTTPResponse, HTTPError>> send(QNetworkRequest request, QByteArray method,
                                                             QByteArray body);

private:
    std::chrono::milliseconds m_resourceTimeout;
    QNetworkAccessManager m_manager;
};
