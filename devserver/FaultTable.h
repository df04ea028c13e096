#pragma once

#include "HTTPMessage.h"

#include <QMap>
#include <chrono>
#include <optional>

namespace devserver {

/// Where the connection breaks off.
enum class Drop {
    Nowhere,
    BeforeAnswer, // not a byte is sent
    MidBody, // the headers and half of the body are sent
};

/// What goes wrong with one answer; a fault without settings changes nothing.
struct Fault {
    std::chrono::milliseconds delay{0};
    std::optional<int> status;
    std::optional<QByteArray> body; // sent as it is, JSON or not
    std::optional<QByteArray> contentType;
    QList<QPair<QByteArray, QByteArray>> headers; // further ones
    std::optional<qint64> length; // bytes up to which the body is repeated
    bool announcesLength = true;
    Drop drop = Drop::Nowhere;

    Response applyTo(Response response) const;
};

/// The faults switched on, one per method and path at most.
///
/// A client may try a request again by itself when the connection broke before the answer: QNetworkAccessManager
/// does so up to three times, unless it cannot read the body anew. A fault that it shall notice must last longer.
class FaultTable
{
public:
    static constexpr int UntilCleared = -1;

    /// Takes effect from the next request on, for `times` requests. Replaces an earlier fault of the same route.
    void set(const QByteArray &method, const QString &path, Fault fault, int times = UntilCleared);
    void clear();

    /// The fault of the request being answered; counts it off.
    Fault take(const QByteArray &method, const QString &path);

private:
    struct Entry {
        Fault fault;
        int timesLeft;
    };

    QMap<QPair<QByteArray, QString>, Entry> m_entries;
};

} // namespace devserver
