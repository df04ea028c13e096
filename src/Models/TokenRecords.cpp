#include "TokenRecords.h"

#include <nlohmann/json.hpp>

namespace {

using JSON = nlohmann::ordered_json;

Decoded<TransactionResponse> decodeTransaction(JSONValue value)
{
    JSONReader json(value);
    return json.result(TransactionResponse{
        .id = json.text("id"),
        .type = json.text("type"),
        .amount = json.integer("amount"),
        .balance = json.integer("balance"),
        .softwareId = json.optionalText("softwareId"),
        .softwareName = json.optionalText("softwareName"),
        .description = json.text("description"),
        .createdAt = json.text("createdAt"),
    });
}

Decoded<WeeklyUsageItem> decodeWeeklyUsageItem(JSONValue value)
{
    JSONReader json(value);
    return json.result(WeeklyUsageItem{.date = json.text("date"), .tokens = json.integer("tokens")});
}

QByteArray dump(const JSON &json)
{
    return QByteArray::fromStdString(json.dump(-1, ' ', false, JSON::error_handler_t::replace));
}

} // namespace

Decoded<BalanceResponse> decodeBalance(JSONValue value)
{
    JSONReader json(value);
    return json.result(BalanceResponse{
        .totalBalance = json.integer("totalBalance"),
        .usedToday = json.integer("usedToday"),
        .usedThisMonth = json.integer("usedThisMonth"),
    });
}

Decoded<PaginatedTransactions> decodeTransactions(JSONValue value)
{
    JSONReader json(value);
    const auto decodeRows = [](JSONValue rows) { return decodeArray(rows, decodeTransaction); };
    return json.result(PaginatedTransactions{
        .transactions = json.value("transactions", decodeRows),
        .total = json.integer("total"),
        .page = json.integer("page"),
        .pageSize = json.integer("pageSize"),
    });
}

Decoded<RechargeResponse> decodeRecharge(JSONValue value)
{
    JSONReader json(value);
    return json.result(RechargeResponse{
        .orderNo = json.text("orderNo"),
        .qrUrl = json.text("qrUrl"),
        .amountYuan = json.value("amountYuan", decodeNumber),
    });
}

Decoded<RechargeStatusResponse> decodeRechargeStatus(JSONValue value)
{
    JSONReader json(value);
    return json.result(RechargeStatusResponse{
        .status = json.text("status"),
        .newBalance = json.optionalValue("newBalance", decodeInteger),
    });
}

Decoded<QList<WeeklyUsageItem>> decodeWeeklyUsage(JSONValue array)
{
    return decodeArray(array, decodeWeeklyUsageItem);
}

QByteArray encode(const PurchaseRequest &request)
{
    return dump({{"packageId", request.packageId.toStdString()}});
}

QByteArray encode(const ChangePasswordRequest &request)
{
    return dump(
        {{"oldPassword", request.oldPassword.toStdString()}, {"newPassword", request.newPassword.toStdString()}});
}
