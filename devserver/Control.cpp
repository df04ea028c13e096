#include "Control.h"

#include "Login.h"

#include <expected>
#include <limits>

namespace devserver {

namespace {

struct FaultOrder {
    QByteArray method = "GET";
    QString path;
    Fault fault;
    int times = FaultTable::UntilCleared;
};

constexpr int longestDelayMs = 10 * 60 * 1000;

bool readInteger(const JSON &value, int least, int most, auto store)
{
    if (!value.is_number_integer() || value < least || value > most)
        return false;
    store(value.get<int>());
    return true;
}

bool readText(const JSON &value, auto store)
{
    if (!value.is_string())
        return false;
    store(QByteArray::fromStdString(value.get<std::string>()));
    return true;
}

bool readDrop(const JSON &value, Drop &drop)
{
    if (value == "beforeAnswer")
        drop = Drop::BeforeAnswer;
    else if (value == "midBody")
        drop = Drop::MidBody;
    return drop != Drop::Nowhere;
}

/// False when the key is unknown or its value is not what it takes.
bool readKey(const std::string &key, const JSON &value, FaultOrder &order)
{
    Fault &fault = order.fault;
    if (key == "method")
        return readText(value, [&](const QByteArray &text) { order.method = text; });
    if (key == "path")
        return readText(value, [&](const QByteArray &text) { order.path = QString::fromUtf8(text); });
    if (key == "times")
        return readInteger(value, 1, std::numeric_limits<int>::max(), [&](int times) { order.times = times; });
    if (key == "delayMs")
        return readInteger(value, 0, longestDelayMs, [&](int ms) { fault.delay = std::chrono::milliseconds(ms); });
    if (key == "status")
        return readInteger(value, 200, 599, [&](int status) { fault.status = status; });
    if (key == "body")
        return readText(value, [&](const QByteArray &text) { fault.body = text; });
    if (key == "contentType")
        return readText(value, [&](const QByteArray &text) { fault.contentType = text; });
    return key == "drop" && readDrop(value, fault.drop);
}

std::expected<FaultOrder, QString> readFaultOrder(const QByteArray &body)
{
    const JSON object = JSON::parse(body.begin(), body.end(), nullptr, false);
    if (!object.is_object())
        return std::unexpected(QStringLiteral("请求体不是 JSON 对象"));
    FaultOrder order;
    for (const auto &[key, value] : object.items()) {
        if (!readKey(key, value, order))
            return std::unexpected(QStringLiteral("键 %1 未知或取值不对").arg(QString::fromStdString(key)));
    }
    if (!order.path.startsWith(u'/') || isControlPath(order.path))
        return std::unexpected(QStringLiteral("键 path 缺失或取值不对"));
    return order;
}

/// The text under a key of an object; nothing in every other case.
std::optional<std::string> textOf(const JSON &object, const char *key)
{
    if (!object.is_object() || !object.contains(key) || !object[key].is_string())
        return {};
    return object[key].get<std::string>();
}

Response switchFaultOn(const QByteArray &body, FaultTable &faults)
{
    const auto order = readFaultOrder(body);
    if (!order)
        return failure(400, order.error());
    faults.set(order->method, order->path, order->fault, order->times);
    return success(nullptr);
}

Response setLoginEnding(const QByteArray &body, ServerState &state)
{
    const JSON order = JSON::parse(body.begin(), body.end(), nullptr, false);
    const auto ending = loginEndingNamed(textOf(order, "ending").value_or(std::string()));
    if (!ending || order.size() != 1)
        return failure(400, QStringLiteral("键 ending 缺失或取值不对，或另有未知的键"));
    state.loginEnding = *ending;
    return success(nullptr);
}

Response endTokens(const QByteArray &body, ServerState &state)
{
    const JSON order = JSON::parse(body.begin(), body.end(), nullptr, false);
    const auto action = textOf(order, "action");
    const auto userId = textOf(order, "userId");
    const bool isWhole = order.size() == (userId ? 2 : 1);
    if (!isWhole || (action != "expire" && action != "revoke"))
        return failure(400, QStringLiteral("键 action 缺失或取值不对，或另有未知的键"));
    const QString user = QString::fromStdString(userId.value_or(std::string()));
    if (userId && !state.accounts.withId(user))
        return failure(404, QStringLiteral("没有这个账户：%1").arg(user));
    action == "expire" ? state.accounts.expireTokens(user) : state.accounts.revokeTokens(user);
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
    return failure(404, QStringLiteral("没有这个控制接口：%1 %2").arg(QString::fromUtf8(request.method), request.path));
}

} // namespace devserver
