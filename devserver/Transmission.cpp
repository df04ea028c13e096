#include "Transmission.h"

#include <QTcpSocket>
#include <QTimer>
#include <algorithm>

namespace devserver {

namespace {

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

QByteArray headOf(const Response &response, Drop drop)
{
    if (!response.delivery.announcesLength)
        return response.head({});
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
    const QByteArray body = bodyOf(response, drop);
    const qsizetype pieceSize = response.delivery.pieceSize;
    const qsizetype first = pieceSize > 0 ? std::min(pieceSize, body.size()) : body.size();
    // One block, because a second one would wait for the client's delayed acknowledgement.
    sendPiece(0, head.size() + first, head + body, response.delivery, socket);
}

} // namespace devserver
