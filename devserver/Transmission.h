#pragma once

#include "FaultTable.h"

class QTcpSocket;

namespace devserver {

/// Sends the response as its delivery says and closes the connection. Every connection carries one exchange, so that
/// a broken one leaves nothing behind for the next.
void transmit(const Response &response, Drop drop, QTcpSocket *socket);

} // namespace devserver
