#pragma once

#include "ServerState.h"

namespace devserver {

/// The account that a request is made for, by its header "Authorization: Bearer TOKEN". The error is a Chinese
/// sentence.
std::expected<Account, QString> accountOfRequest(const ServerState &state, const Request &request);

/// Status 401 with the envelope carrying code 1.
Response unauthorized(const QString &message);

/// GET /auth/verify: whose token it is.
Response answerVerify(ServerState &state, const Request &request);

/// POST /auth/logout: revokes the token.
Response answerLogout(ServerState &state, const Request &request);

} // namespace devserver
