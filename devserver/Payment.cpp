#include "Payment.h"

#include "BodyReader.h"
#include "Page.h"
#include "Session.h"

#include <QLocale>

namespace devserver {

namespace {

const QString failureTitle = QStringLiteral("无法支付");

void book(ServerState &state, const Order &order)
{
    const Package &package = *order.package;
    const QString name = QString::fromUtf8(package.name);
    const QDateTime now = state.now();
    state.ledger.book(order.userId,
                      {.type = EntryType::Purchase,
                       .amount = package.tokenCount,
                       .description = QStringLiteral("购买%1").arg(name),
                       .time = now});
    state.ledger.book(order.userId,
                      {.type = EntryType::Bonus,
                       .amount = package.bonusTokens(),
                       .description = QStringLiteral("购买%1赠送").arg(name),
                       .time = now});
}

/// An order that is not pending any more stays as it is, so that nothing is ever paid twice.
bool end(ServerState &state, Order &order, OrderStatus status)
{
    if (order.status != OrderStatus::Pending)
        return false;
    order.status = status;
    if (status == OrderStatus::Paid)
        book(state, order);
    return true;
}

/// The order as it stands by now.
Order *current(ServerState &state, const QString &number)
{
    Order *const order = state.orders.withNumber(number);
    if (!order)
        return nullptr;
    const bool isLate = state.now() >= order->createdAt.addSecs(Order::MinutesToPay * 60LL);
    if (order->fate == OrderFate::Expiring || isLate)
        end(state, *order, OrderStatus::Expired);
    if (order->fate == OrderFate::SelfPaid)
        end(state, *order, OrderStatus::Paid);
    return order;
}

QString lastSegment(const QString &path)
{
    return path.section(u'/', -1);
}

QByteArray priceText(const Package &package)
{
    return QByteArray::number(package.price, 'f', 2);
}

QByteArray grouped(qint64 number)
{
    return QLocale(QLocale::English).toString(number).toUtf8();
}

HTML actionOf(const Order &order)
{
    if (order.status == OrderStatus::Pending && order.buttonWasPressed)
        return {"<p class=\"hint\" role=\"status\">支付结果确认中，请稍候…</p>"};
    switch (order.status) {
    case OrderStatus::Pending:
        return {"<form method=\"post\"><button type=\"submit\" class=\"primary\">支付</button></form>"};
    case OrderStatus::Paid:
        return {"<p class=\"mark\" aria-hidden=\"true\">✓</p><p role=\"status\">支付成功，可以关闭本页</p>"};
    case OrderStatus::Failed:
        return {"<p class=\"error\" role=\"alert\">支付失败，款项未扣除</p>"};
    case OrderStatus::Expired:
        return {"<p class=\"error\" role=\"alert\">订单已过期，请重新购买</p>"};
    }
    Q_UNREACHABLE();
}

HTML paymentForm(const ServerState &state, const Order &order)
{
    const Package &package = *order.package;
    const Account *const account = state.accounts.withId(order.userId);
    return filled(QStringLiteral("Payment.html"),
                  {{"price", {priceText(package)}},
                   {"package", escaped(QString::fromUtf8(package.name))},
                   {"tokens", {grouped(package.tokenCount)}},
                   {"bonus", {grouped(package.bonusTokens())}},
                   {"account", escaped(account ? account->displayName : order.userId)},
                   {"number", escaped(order.number)},
                   {"action", actionOf(order)}});
}

Response noOrder()
{
    return errorPage(404, failureTitle, QStringLiteral("没有这个订单"));
}

} // namespace

Response answerRecharge(ServerState &state, const Request &request)
{
    const auto account = accountOfRequest(state, request);
    if (!account)
        return unauthorized(account.error());
    BodyReader body(request.body);
    const auto packageId = body.text("packageId");
    if (!packageId)
        body.fail("packageId");
    if (const QString error = body.error(); !error.isEmpty())
        return failure(400, error);
    const Package *const package = packageWithId(*packageId);
    if (!package)
        return failure(404, QStringLiteral("没有这个套餐：%1").arg(*packageId));
    const Order &order = state.orders.create(account->userId, *package, state.now());
    return success({{"orderNo", order.number.toStdString()},
                    {"qrUrl", "http://" + request.header("Host").toStdString() + "/pay/" + order.number.toStdString()},
                    {"amountYuan", package->price}});
}

Response answerRechargeStatus(ServerState &state, const Request &request)
{
    const auto account = accountOfRequest(state, request);
    if (!account)
        return unauthorized(account.error());
    const Order *const order = current(state, request.path.section(u'/', -2, -2));
    if (!order || order->userId != account->userId)
        return failure(404, QStringLiteral("没有这个订单"));
    JSON data{{"status", nameOf(orderStatuses, order->status).toStdString()}};
    if (order->status == OrderStatus::Paid)
        data["newBalance"] = state.ledger.balance(order->userId);
    return success(std::move(data));
}

Response answerPaymentPage(ServerState &state, const Request &request)
{
    const Order *const order = current(state, lastSegment(request.path));
    return order ? page(200, QStringLiteral("支付订单"), paymentForm(state, *order)) : noOrder();
}

Response answerPay(ServerState &state, const Request &request)
{
    Order *const order = current(state, lastSegment(request.path));
    if (!order)
        return noOrder();
    order->buttonWasPressed = true;
    if (order->fate == OrderFate::Failing)
        end(state, *order, OrderStatus::Failed);
    else if (order->fate != OrderFate::NeverPaid)
        end(state, *order, OrderStatus::Paid);
    return redirect(303, QStringLiteral("/pay/") + order->number);
}

Response controlOrders(ServerState &state, const Request &request)
{
    BodyReader body(request.body);
    const auto next = body.choice("next", orderFates);
    const auto number = body.text("orderNo");
    const auto status = body.choice("status", orderStatuses);
    if (number.has_value() != status.has_value() || status == OrderStatus::Pending)
        body.fail("status");
    if (!next && !number)
        body.fail("next");
    if (const QString error = body.error(); !error.isEmpty())
        return failure(400, error);
    Order *const order = number ? current(state, *number) : nullptr;
    if (number && !order)
        return failure(404, QStringLiteral("没有这个订单：%1").arg(*number));
    if (order && !end(state, *order, *status))
        return failure(409, QStringLiteral("订单 %1 已不是待支付状态").arg(*number));
    state.orders.nextFate = next.value_or(state.orders.nextFate);
    return success(nullptr);
}

Response listOrders(ServerState &state, const Request &)
{
    JSON list = JSON::array();
    for (const Order &each : state.orders.all()) {
        const Order &order = *current(state, each.number);
        list.push_back({{"orderNo", order.number.toStdString()},
                        {"userId", order.userId.toStdString()},
                        {"packageId", order.package->id},
                        {"fate", nameOf(orderFates, order.fate).toStdString()},
                        {"status", nameOf(orderStatuses, order.status).toStdString()}});
    }
    return success(std::move(list));
}

} // namespace devserver
