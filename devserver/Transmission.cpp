#include "Transmission.h"

#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <memory>

namespace devserver {

namespace {

constexpr qsizetype blockSize = 256 * 1024;

/// Sends the bytes from `begin` to `end` now, and those behind in pieces as the delivery says.
void sendPiece(qsizetype begin, qsizetype end, const QByteArray &bytes, const Delivery &delivery, QTcpSocket *socket)
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(bytes.constData() + begin, end - begin);
    const qsizetype next = std::min(end + delivery.pieceSize, bytes.size());
    if (end == bytes.size())
        socket->disconnectFromHost();
    else
        QTimer::singleShot(delivery.pause, socket, [=] { sendPiece(end, next, bytes, delivery, socket); });
}

/// Sends the block over and over, up to so many bytes.
void sendRepeated(const QByteArray &head, const QByteArray &block, qint64 length, QTcpSocket *socket)
{
    const auto left = std::make_shared<qint64>(length);
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, [=] {
        if (socket->bytesToWrite() > 0)
            return;
        if (*left == 0)
            return socket->disconnectFromHost();
        const qint64 count = std::min<qint64>(*left, block.size());
        *left -= count;
        socket->write(block.constData(), count);
    });
    socket->write(head);
}

QByteArray headOf(const Response &response, Drop drop)
{
    if (!response.delivery.announcesLength)
        return response.head({});
    if (response.delivery.length)
        return response.head(response.delivery.length);
    const qsizetype least = drop == Drop::MidBody ? 1 : 0; // else an empty body would be whole
    return response.head(std::max(response.body.size(), least));
}

QByteArray bodyOf(const Response &response, Drop drop)
{
    const qsizetype whole = response.body.size();
    return response.body.first(drop == Drop::MidBody ? whole / 2
                                                     : std::min(response.delivery.cutAfter.value_or(whole), whole));
}

} // namespace

void transmit(const Response &response, Drop drop, QTcpSocket *socket)
{
    if (drop == Drop::BeforeAnswer) {
        socket->disconnectFromHost();
        return;
    }
    const QByteArray head = headOf(response, drop);
    if (const auto length = response.delivery.length) {
        const qsizetype copies = 1 + blockSize / std::max<qsizetype>(response.body.size(), 1);
        return sendRepeated(head, response.body.repeated(copies), *length, socket);
    }
    const QByteArray body = bodyOf(response, drop);
    const qsizetype pieceSize = response.delivery.pieceSize;
    const qsizetype first = pieceSize > 0 ? std::min(pieceSize, body.size()) : body.size();
    // One block, because a second one would wait for the client's delayed acknowledgement.
    sendPiece(0, head.size() + first, head + body, response.delivery, socket);
}

} // namespace devserver
