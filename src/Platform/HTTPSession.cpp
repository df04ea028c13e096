#include "HTTPSession.h"

#include "Utilities/Text.h"

#include <QCoroNetworkReply>
#include <QDeadlineTimer>
#include <QNetworkReply>
#include <QTimer>
#include <cstring>
#include <memory>

namespace {

using Answer = std::expected<HTTPResponse, HTTPError>;

constexpr int mostRedirections = 10;
constexpr qint64 mostUnreadBytes = 1024 * 1024;
constexpr int firstErrorStatus = 400;

struct DeleteLater {
    void operator()(QObject *object) const { object->deleteLater(); }
};

/// A request body that cannot be rewound. QNetworkAccessManager sends a request again when the connection breaks
/// before the answer, up to three times, but only when it can read the body anew.
class OneTimeBody : public QIODevice
{
public:
    explicit OneTimeBody(QByteArray bytes)
        : m_bytes(std::move(bytes))
    {
        open(ReadOnly | Unbuffered);
    }

    qint64 size() const override { return m_bytes.size(); }
    bool reset() override { return false; }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const qint64 count = std::min(maxSize, m_bytes.size() - pos());
        std::memcpy(data, m_bytes.constData() + pos(), std::size_t(count));
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    const QByteArray m_bytes;
};

/// Takes an answer's body as it comes, and ends the exchange when it is longer than the limit.
class LimitedBody : public QObject
{
public:
    LimitedBody(QNetworkReply &reply, qsizetype limit)
        : m_reply(reply)
        , m_limit(limit)
    {
        m_reply.setReadBufferSize(mostUnreadBytes);
        connect(&m_reply, &QNetworkReply::metaDataChanged, this, &LimitedBody::checkAnnounced);
        connect(&m_reply, &QNetworkReply::readyRead, this, &LimitedBody::receive);
    }

    void receive()
    {
        if (!m_reply.isReadable())
            return;
        m_bytes += m_reply.read(std::min(m_reply.bytesAvailable(), m_limit + 1 - m_bytes.size()));
        if (m_bytes.size() > m_limit)
            refuse();
    }

    bool isTooLong() const { return m_isTooLong; }
    const QByteArray &bytes() const { return m_bytes; }

private:
    void checkAnnounced()
    {
        if (m_reply.header(QNetworkRequest::ContentLengthHeader).toLongLong() > m_limit)
            refuse();
    }

    void refuse()
    {
        m_isTooLong = true;
        m_bytes.clear();
        m_reply.abort();
    }

    QNetworkReply &m_reply;
    const qsizetype m_limit;
    QByteArray m_bytes;
    bool m_isTooLong = false;
};

QNetworkReply *post(QNetworkAccessManager &manager, const QNetworkRequest &request, const QByteArray &body)
{
    auto *const once = new OneTimeBody(body);
    QNetworkReply *const reply = manager.post(request, once);
    once->setParent(reply);
    return reply;
}

/// Qt calls 4xx and 5xx errors as well; an answer with such a status is an answer, if it came whole.
bool isWhole(const QNetworkReply &reply, int status)
{
    const auto error = reply.error();
    const bool isOfStatus = error >= QNetworkReply::ContentAccessDenied && error != QNetworkReply::ContentReSendError;
    return error == QNetworkReply::NoError || (status >= firstErrorStatus && isOfStatus);
}

QUrl redirectionOf(const QNetworkReply &reply)
{
    const QUrl target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    return target.isEmpty() ? QUrl() : reply.url().resolved(target);
}

bool isSameOrigin(const QUrl &one, const QUrl &other)
{
    const int port = one.scheme() == QLatin1String("https") ? 443 : 80;
    return one.scheme() == other.scheme() && one.host() == other.host() && one.port(port) == other.port(port);
}

} // namespace

QString describeFailure(const QNetworkReply &reply)
{
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("无法连接到服务器");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("服务器中断了连接");
    case QNetworkReply::ContentReSendError:
        return QStringLiteral("服务器没有给出应答；为避免重复，请求未再次发送");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("找不到服务器 %1").arg(reply.url().host());
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError:
        return QStringLiteral("请求超时");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral("无法与服务器建立安全连接");
    case QNetworkReply::TooManyRedirectsError:
        return QStringLiteral("服务器的重定向次数过多");
    case QNetworkReply::InsecureRedirectError:
    case QNetworkReply::ProtocolUnknownError:
        return QStringLiteral("服务器重定向到不安全的地址");
    case QNetworkReply::UnknownContentError:
        return QStringLiteral("服务器返回的内容无法解压");
    default:
        return reply.errorString();
    }
}

HTTPSession::HTTPSession(Limits limits)
    : m_limits(limits)
{
}

HTTPSession::~HTTPSession()
{
    m_isEnding = true;
    for (QNetworkReply *const reply : m_manager.findChildren<QNetworkReply *>())
        reply->abort();
}

QCoro::Task<Answer> HTTPSession::send(QNetworkRequest request, QByteArray method, QByteArray body, qsizetype bodyLimit)
{
    const QDeadlineTimer deadline(m_limits.exchange);
    request.setTransferTimeout(int(m_limits.silence.count()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    // It has rules of its own for sending a request again.
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    for (int redirections = 0;; ++redirections) {
        const Answer answer = co_await exchange(request, method, body, bodyLimit, deadline);
        if (!answer || redirections == mostRedirections || !isSameOrigin(answer->redirection, request.url()))
            co_return answer;
        request.setUrl(answer->redirection);
        method = "GET";
    }
}

QCoro::Task<Answer> HTTPSession::exchange(QNetworkRequest request, QByteArray method, QByteArray body,
                                          qsizetype bodyLimit, QDeadlineTimer deadline)
{
    if (m_isEnding)
        co_return std::unexpected(HTTPError{QStringLiteral("请求已取消")});
    const bool isPost = method == "POST";
    // A connection that lay idle may be gone by now; who asks finds out too late.
    const std::unique_ptr<QNetworkAccessManager, DeleteLater> ownManager(isPost ? new QNetworkAccessManager(&m_manager)
                                                                                : nullptr);
    const std::unique_ptr<QNetworkReply, DeleteLater> reply(isPost ? post(*ownManager, request, body)
                                                                   : m_manager.get(request));
    LimitedBody received(*reply, bodyLimit);
    QTimer::singleShot(std::chrono::milliseconds(deadline.remainingTime()), reply.get(), &QNetworkReply::abort);
    co_await reply.get();

    if (!received.isTooLong())
        received.receive(); // what came with the end
    if (received.isTooLong())
        co_return std::unexpected(
            HTTPError{QStringLiteral("服务器返回的内容过大（超过 %1）").arg(byteCountText(bodyLimit))});
    if (m_isEnding)
        co_return std::unexpected(HTTPError{QStringLiteral("请求已取消")});
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0 || !isWhole(*reply, status))
        co_return std::unexpected(HTTPError{describeFailure(*reply)});
    co_return HTTPResponse{status, received.bytes(), redirectionOf(*reply)};
}
