#include "Transmission.h"

#include <QTcpSocket>
#include <QTimer>
#include <algorithm>

namespace devserver {

namespace {

/// Bytes that leave one piece after the other.
struct Pieces {
    QByteArray bytes;
    qsizetype size;
    std::chrono::milliseconds pause;
};

void sendFrom(qsizetype begin, const Pieces &pieces, QTcpSocket *socket)
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    const qsizetype size = std::min(pieces.size, pieces.bytes.size() - begin);
    socket->write(pieces.bytes.constData() + begin, size);
    if (begin + size >= pieces.bytes.size())
        socket->disconnectFromHost();
    else
        QTimer::singleShot(pieces.pause, socket, [=] { sendFrom(begin + size, pieces, socket); });
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
    // One block, because a second one would wait for the client's delayed acknowledgement.
    const QByteArray bytes = headOf(response, drop) + bodyOf(response, drop);
    const qsizetype pieceSize = response.delivery.pieceSize;
    sendFrom(0, {bytes, pieceSize > 0 ? pieceSize : bytes.size(), response.delivery.pause}, socket);
}

} // namespace devserver
