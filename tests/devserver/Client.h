#pragma once

#include "DevServer.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <memory>

/// Two accounts. Every text of the first one needs encoding on its way.
extern const devserver::Account First;
extern const devserver::Account Second;

QString text(const devserver::JSON &value);

struct Reply {
    int status = 0;
    QByteArray body;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QList<QPair<QByteArray, QByteArray>> headers;

    devserver::JSON json() const { return devserver::JSON::parse(body.toStdString()); }
    QString text() const { return QString::fromUtf8(body); }
    QByteArray header(QByteArrayView name) const;
};

/// A server on a free port and everything a test sends to it. Redirects are not followed, cookies not kept.
class Client
{
public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    explicit Client(devserver::ServerState state);

    devserver::DevServer &server() { return m_server; }
    devserver::ServerState &state() { return m_server.state(); }
    QByteArray origin() const { return m_origin; }

    /// `path` may also be a whole address; the content type is JSON's unless the headers say otherwise.
    std::unique_ptr<QNetworkReply> begin(const QByteArray &method, const QByteArray &path, const QByteArray &body = {},
                                         const Headers &headers = {});
    /// Waits for the answer and ends the test program when there is none.
    Reply send(const QByteArray &method, const QByteArray &path, const QByteArray &body = {},
               const Headers &headers = {});
    Reply get(const QByteArray &path, const Headers &headers = {}) { return send("GET", path, {}, headers); }
    Reply control(const QByteArray &path, const QByteArray &body) { return send("POST", "/_control/" + path, body); }

private:
    devserver::DevServer m_server;
    QNetworkAccessManager m_network;
    QByteArray m_origin;
};
