#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <chrono>
#include <expected>

class QDeadlineTimer;

/// What came back from a server, whatever its status.
struct HTTPResponse {
    int status = 0;
    QByteArray body;
    QUrl redirection; ///< absolute; empty unless the answer leads elsewhere
};

/// The request got no answer: a Chinese sentence saying why.
struct HTTPError {
    QString description;
};

/// Why a reply did not come whole, as a Chinese sentence. One that was ended from here had taken too long.
QString describeFailure(const QNetworkReply &reply);

/// Sends HTTP requests. Interface thread only.
///
/// A POST is sent once: over a connection of its own, and not again when that breaks before the answer or when the
/// server asks for it (307, 308); either is an error. Other redirects are followed, by GET, within the origin only,
/// so that neither credentials nor bodies reach another server; one that leads elsewhere is the answer.
class HTTPSession
{
public:
    struct Limits {
        std::chrono::milliseconds silence; ///< longest wait for the next bytes
        std::chrono::milliseconds exchange; ///< longest time from the request to the end of the answer
    };

    static constexpr qsizetype defaultBodyLimit = 4 * 1024 * 1024; ///< bytes

    explicit HTTPSession(Limits limits);
    /// What is still under way ends with an error before this returns, so whoever waits for it is resumed. A class
    /// with a session as its member declares it last.
    ~HTTPSession();

    /// `method` is "GET" or "POST"; `body` is sent with POST only. An answer whose body is longer than `bodyLimit`
    /// is an error, and not read any further.
    QCoro::Task<std::expected<HTTPResponse, HTTPError>> send(QNetworkRequest request, QByteArray method,
                                                             QByteArray body, qsizetype bodyLimit = defaultBodyLimit);

private:
    /// One request and its answer.
    QCoro::Task<std::expected<HTTPResponse, HTTPError>>
    exchange(QNetworkRequest request, QByteArray method, QByteArray body, qsizetype bodyLimit, QDeadlineTimer deadline);

    const Limits m_limits;
    QNetworkAccessManager m_manager;
    bool m_isEnding = false;
};
