#pragma once

#include <QCoroTask>
#include <chrono>
#include <sys/types.h>

/// Signals to a whole session: the leader, its children, and whatever they started without
/// leaving the session.
namespace ProcessSession {

/// Asks every process of the session to terminate, kills those that have not after `grace`, and
/// ends when all are gone or killed. Safe against reused process identifiers: only processes seen
/// alive in the session are ever signalled.
QCoro::Task<> terminate(pid_t session, std::chrono::milliseconds grace);

/// Kills every process of the session at once. The leader must not have been reaped.
void kill(pid_t session);

} // namespace ProcessSession
