#pragma once

#include <chrono>
#include <sys/types.h>

/// Signals to a whole session: the leader, its children, and whatever they started without
/// leaving the session.
namespace ProcessSession {

/// Asks every process of the session to terminate and kills what is left after `grace`.
/// Needs a running event loop for the second half; returns at once. Safe against reused
/// process identifiers: only processes seen alive in the session are ever signalled.
void terminate(pid_t session, std::chrono::milliseconds grace);

} // namespace ProcessSession
