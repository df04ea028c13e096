#include "Client.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

const devserver::Account First{u"u&1"_s, u"张 \"伟\"<b>&+"_s, u"13800000001"_s, u"a+b=密&"_s, u"admin"_s, u"sk-1/+"_s};
const devserver::Account Second{u"u2"_s, u"李娜"_s, u"13800000002"_s, u"lina"_s, u"user"_s, u"sk-2"_s};

QString text(const devserver::JSON &value)
{
    return QString::fromStdString(value.get<std::string>());
}

QByteArray Reply::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (name.compare(key, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

Client::Client(devserver::ServerState state)
    : m_server(std::move(state))
    , m_origin(m_server.start(0).value().toUtf8())
{
}

std::unique_ptr<QNetworkReply> Client::begin(const QByteArray &method, const QByteArray &path, const QByteArray &body,
                                             const Headers &headers)
{
    QNetworkRequest request(QUrl::fromEncoded(path.startsWith('/') ? m_origin + path : path));
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    for (const auto &[name, value] : headers)
        request.setRawHeader(name, value);
    return std::unique_ptr<QNetworkReply>(m_network.sendCustomRequest(request, method, body));
}

Reply Client::send(const QByteArray &method, const QByteArray &path, const QByteArray &body, const Headers &headers)
{
    const auto reply = begin(method, path, body, headers);
    if (!reply->isFinished() && !QSignalSpy(reply.get(), &QNetworkReply::finished).wait())
        qFatal("no answer to %s %s", method.constData(), path.constData());
    return {.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
            .body = reply->readAll(),
            .error = reply->error(),
            .headers = reply->rawHeaderPairs()};
}
