#pragma once

#include "ServerState.h"

namespace devserver {

// What the account server says of the tokens of the account that a request's token belongs to.

/// GET /api/v1/token/balance: the balance, and the tokens consumed since midnight and in this month, local time.
Response answerBalance(ServerState &state, const Request &request);

/// GET /api/v1/token/packages: everything for sale.
Response answerPackages(ServerState &state, const Request &request);

/// GET /api/v1/token/transactions: the history, the newest first, by pages; the query may say "page" and "pageSize".
Response answerTransactions(ServerState &state, const Request &request);

/// GET /api/v1/token/usage/weekly: the tokens consumed on each of the last seven days, local time, the oldest first.
Response answerWeeklyUsage(ServerState &state, const Request &request);

// For demonstrations. Without "userId" they are for all accounts.

/// POST /_control/history: replaces the history by a made-up one of "count" entries, and lets the first page hold
/// "pageSize" of them, all unless given.
Response controlHistory(ServerState &state, const Request &request);

/// POST /_control/balance: a booking that brings the balance to "tokens".
Response controlBalance(ServerState &state, const Request &request);

} // namespace devserver
