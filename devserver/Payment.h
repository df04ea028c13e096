#pragma once

#include "ServerState.h"

namespace devserver {

/// POST /api/v1/token/recharge: orders the "packageId" for the token's account.
Response answerRecharge(ServerState &state, const Request &request);

/// GET /api/v1/token/recharge/NUMBER/status: how the account's order stands.
Response answerRechargeStatus(ServerState &state, const Request &request);

/// GET /pay/NUMBER: the page behind an order's code, to pay on.
Response answerPaymentPage(ServerState &state, const Request &request);

/// POST /pay/NUMBER: the page's button.
Response answerPay(ServerState &state, const Request &request);

/// POST /_control/orders: {"next": …} sets the fate of the orders to come: "payable", "selfPaid", "neverPaid",
/// "failing" or "expiring". {"orderNo": …, "status": …} makes a pending order "paid", "failed" or "expired".
Response controlOrders(ServerState &state, const Request &request);

/// GET /_control/orders: lists the orders.
Response listOrders(ServerState &state, const Request &request);

} // namespace devserver
