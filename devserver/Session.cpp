#include "Session.h"

namespace devserver {

namespace {

QString bearerToken(const Request &request)
{
    const QByteArray header = request.header("Authorization");
    return header.startsWith("Bearer ") ? QString::fromUtf8(header.sliced(7)) : QString();
}

} // namespace

std::expected<Account, QString> accountOfRequest(const ServerState &state, const Request &request)
{
    return state.accounts.accountOfToken(bearerToken(request));
}

Response unauthorized(const QString &message)
{
    return {.status = 401, .body = encode({{"code", 1}, {"message", message.toStdString()}})};
}

Response answerVerify(ServerState &state, const Request &request)
{
    const auto account = accountOfRequest(state, request);
    if (!account)
        return unauthorized(account.error());
    return success({{"userId", account->userId.toStdString()}, {"role", account->role.toStdString()}});
}

Response answerLogout(ServerState &state, const Request &request)
{
    const auto account = accountOfRequest(state, request);
    if (!account)
        return unauthorized(account.error());
    state.accounts.revokeToken(bearerToken(request));
    return success(nullptr);
}

} // namespace devserver
