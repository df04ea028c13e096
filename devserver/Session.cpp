#include "Session.h"

#include "BodyReader.h"

#include <QTextBoundaryFinder>

namespace devserver {

namespace {

constexpr int shortestPassword = 6;

/// Characters as a reader counts them.
int characterCount(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

Response refusal(int code, const QString &message)
{
    return {.body = encode({{"code", code}, {"message", message.toStdString()}})};
}

} // namespace

QString bearerToken(const Request &request)
{
    const QByteArray header = request.header("Authorization");
    return header.startsWith("Bearer ") ? QString::fromUtf8(header.sliced(7)) : QString();
}

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

Response answerChangePassword(ServerState &state, const Request &request)
{
    const auto account = accountOfRequest(state, request);
    if (!account)
        return unauthorized(account.error());
    BodyReader body(request.body);
    const auto oldPassword = body.text("oldPassword");
    const auto newPassword = body.text("newPassword");
    if (const QString error = body.error(); !error.isEmpty() || !oldPassword || !newPassword)
        return failure(400, error.isEmpty() ? QStringLiteral("缺少 oldPassword 或 newPassword") : error);
    if (*oldPassword != account->password)
        return refusal(1001, QStringLiteral("当前密码不正确"));
    if (characterCount(*newPassword) < shortestPassword)
        return refusal(1002, QStringLiteral("新密码长度不能少于%1位").arg(shortestPassword));
    if (*newPassword == *oldPassword)
        return refusal(1003, QStringLiteral("新密码不能与旧密码相同"));
    state.accounts.setPassword(account->userId, *newPassword);
    return success(nullptr);
}

} // namespace devserver
