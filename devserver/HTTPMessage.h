#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <nlohmann/json.hpp>

namespace devserver {

using JSON = nlohmann::ordered_json;

/// A request as it came in.
struct Request {
    QByteArray method; // upper case
    QString path; // decoded, without the query
    QString query; // still encoded, without the question mark
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    /// The first header of this name, in whatever case; empty when there is none.
    QByteArray header(QByteArrayView name) const;
};

struct Response {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json; charset=utf-8";
    QList<QPair<QByteArray, QByteArray>> headers; // further ones; neither names nor values hold line ends

    /// Status line and headers. They announce `contentLength` bytes of body and the end of the connection.
    QByteArray head(qsizetype contentLength) const;
};

/// Status 200 with the account server's envelope around `data`: code 0, message "ok".
Response success(JSON data);

/// `status` with the envelope carrying it as its code, `message` and no data.
Response failure(int status, const QString &message);

/// UTF-8 text of `value`; bytes that are not UTF-8 become U+FFFD.
QByteArray encode(const JSON &value);

} // namespace devserver
