#include "Control.h"

#include "BodyReader.h"
#include "Login.h"
#include "Routes.h"

#include <limits>

namespace devserver {

namespace {

constexpr int longestDelayMs = 10 * 60 * 1000;

constexpr std::array drops{
    Named<Drop>{"beforeAnswer", Drop::BeforeAnswer},
    Named<Drop>{"midBody", Drop::MidBody},
};

Fault readFault(BodyReader &order)
{
    Fault fault{.delay = std::chrono::milliseconds(order.integer("delayMs", 0, longestDelayMs).value_or(0)),
                .drop = order.choice("drop", drops).value_or(Drop::Nowhere)};
    if (const auto status = order.integer("status", 200, 599))
        fault.status = int(*status);
    if (const auto body = order.text("body"))
        fault.body = body->toUtf8();
    if (const auto contentType = order.text("contentType"))
        fault.contentType = contentType->toUtf8();
    if (const auto location = order.text("location"))
        fault.headers.append({"Location", location->toUtf8()});
    fault.length = order.integer("length", 0, std::numeric_limits<qint64>::max());
    fault.announcesLength = order.flag("announceLength").value_or(true);
    return fault;
}

Response switchFaultOn(const QByteArray &body, FaultTable &faults)
{
    BodyReader order(body);
    const Fault fault = readFault(order);
    const QByteArray method = order.text("method").value_or(QStringLiteral("GET")).toUtf8();
    const QString path = order.text("path").value_or(QString());
    const auto times = order.integer("times", 1, std::numeric_limits<int>::max());
    if (!path.startsWith(u'/') || isControlPath(path))
        order.fail("path");
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    faults.set(method, path, fault, int(times.value_or(FaultTable::UntilCleared)));
    return success(nullptr);
}

Response setLoginEnding(const QByteArray &body, ServerState &state)
{
    BodyReader order(body);
    const auto ending = order.choice("ending", loginEndings);
    if (!ending)
        order.fail("ending");
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    state.loginEnding = *ending;
    return success(nullptr);
}

Response endTokens(const QByteArray &body, ServerState &state)
{
    static constexpr std::array actions{
        Named<void (Accounts::*)(const QString &)>{"expire", &Accounts::expireTokens},
        Named<void (Accounts::*)(const QString &)>{"revoke", &Accounts::revokeTokens},
    };
    BodyReader order(body);
    const auto action = order.choice("action", actions);
    const auto userId = order.text("userId");
    if (!action)
        order.fail("action");
    if (const QString error = order.error(); !error.isEmpty())
        return failure(400, error);
    if (userId && !state.accounts.withId(*userId))
        return failure(404, QStringLiteral("没有这个账户：%1").arg(*userId));
    (state.accounts.**action)(userId.value_or(QString()));
    return success(nullptr);
}

JSON describe(const Request &request)
{
    JSON headers = JSON::array();
    for (const auto &[name, value] : request.headers)
        headers.push_back({{"name", name.toStdString()}, {"value", value.toStdString()}});
    return {{"method", request.method.toStdString()},
            {"path", request.path.toStdString()},
            {"query", request.query.toStdString()},
            {"headers", std::move(headers)},
            {"body", request.body.toStdString()}};
}

} // namespace

bool isControlPath(QStringView path)
{
    return path.startsWith(u"/_control/");
}

Response answerControl(const Request &request, ServerState &state, FaultTable &faults, const QList<Request> &recorded)
{
    if (request.path == u"/_control/faults" && request.method == "POST")
        return switchFaultOn(request.body, faults);
    if (request.path == u"/_control/faults" && request.method == "DELETE") {
        faults.clear();
        return success(nullptr);
    }
    if (request.path == u"/_control/login" && request.method == "POST")
        return setLoginEnding(request.body, state);
    if (request.path == u"/_control/tokens" && request.method == "POST")
        return endTokens(request.body, state);
    if (request.path == u"/_control/requests" && request.method == "GET") {
        JSON list = JSON::array();
        for (const Request &each : recorded)
            list.push_back(describe(each));
        return success(std::move(list));
    }
    if (const Route *route = findRoute(request.method, request.path))
        return route->answer(state, request);
    return failure(404, QStringLiteral("没有这个控制接口：%1 %2").arg(QString::fromUtf8(request.method), request.path));
}

} // namespace devserver
