#pragma once

#include "ServerState.h"

namespace devserver {

/// What the header "Authorization" says after "Bearer "; empty when it does not.
QString bearerToken(const Request &request);

/// The account that a request is made for, by its header "Authorization: Bearer TOKEN". The error is a Chinese
/// sentence.
std::expected<Account, QString> accountOfRequest(const ServerState &state, const Request &request);

/// Status 401 with the envelope carrying code 1.
Response unauthorized(const QString &message);

/// GET /auth/verify: whose token it is.
Response answerVerify(ServerState &state, const Request &request);

/// POST /auth/logout: revokes the token.
Response answerLogout(ServerState &state, const Request &request);

/// POST /api/v1/user/change-password: sets the account's "newPassword" if "oldPassword" is the one it has. What is
/// wrong with them is said with status 200 and the code 1001 (the old one), 1002 (too short) or 1003 (the same).
Response answerChangePassword(ServerState &state, const Request &request);

} // namespace devserver
