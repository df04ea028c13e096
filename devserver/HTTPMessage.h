#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>

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

/// How a body goes over the wire.
struct Delivery {
    bool announcesLength = true; // else the end of the connection ends the body
    qsizetype pieceSize = 0; // bytes; 0 for everything at once
    std::chrono::milliseconds pause{0}; // between two pieces
    std::optional<qint64> length; // bytes; the body is repeated up to here, as fast as the client takes it
    std::optional<qsizetype> cutAfter; // bytes of the body after which the connection breaks off
};

struct Response {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json; charset=utf-8";
    QList<QPair<QByteArray, QByteArray>> headers; // further ones; neither names nor values hold line ends
    Delivery delivery;

    /// Status line and headers. They announce the end of the connection and, if known, the bytes of body before it.
    QByteArray head(std::optional<qint64> contentLength) const;
};

/// Status 200 with the account server's envelope around `data`: code 0, message "ok".
Response success(JSON data);

/// `status` with the envelope carrying it as its code, `message` and no data.
Response failure(int status, const QString &message);

/// UTF-8 text of `value`; bytes that are not UTF-8 become U+FFFD.
QByteArray encode(const JSON &value);

} // namespace devserver
