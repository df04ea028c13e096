#include "HTTPMessage.h"

namespace devserver {

QByteArray Request::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (name.compare(key, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QByteArray Response::head(std::optional<qint64> contentLength) const
{
    QByteArray lines =
        "HTTP/1.1 " + QByteArray::number(status) + " \r\nContent-Type: " + contentType + "\r\nConnection: close\r\n";
    if (contentLength)
        lines += "Content-Length: " + QByteArray::number(*contentLength) + "\r\n";
    for (const auto &[name, value] : headers)
        lines += name + ": " + value + "\r\n";
    return lines + "\r\n";
}

Response success(JSON data)
{
    return {.body = encode({{"code", 0}, {"message", "ok"}, {"data", std::move(data)}})};
}

Response failure(int status, const QString &message)
{
    return {.status = status, .body = encode({{"code", status}, {"message", message.toStdString()}})};
}

QByteArray encode(const JSON &value)
{
    return QByteArray::fromStdString(value.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

} // namespace devserver
