#pragma once

#include "Utilities/JSONReader.h"

// What the account server's token endpoints exchange. JSON keys are the field names; every key is
// required but those of optional fields.

struct BalanceResponse {
    qint64 totalBalance = 0; ///< tokens available
    qint64 usedToday = 0;
    qint64 usedThisMonth = 0;

    bool operator==(const BalanceResponse &) const = default;
};

struct TransactionResponse {
    QString id;
    QString type; ///< "purchase", "consume", "refund" or "bonus"
    qint64 amount = 0; ///< tokens moved; the type tells which way
    qint64 balance = 0; ///< after the transaction
    std::optional<QString> softwareId; ///< of what consumed the tokens
    std::optional<QString> softwareName;
    QString description;
    QString createdAt; ///< "yyyy-MM-dd HH:mm:ss", in UTC

    bool operator==(const TransactionResponse &) const = default;
};

struct PaginatedTransactions {
    QList<TransactionResponse> transactions;
    qint64 total = 0;
    qint64 page = 0;
    qint64 pageSize = 0;

    bool operator==(const PaginatedTransactions &) const = default;
};

struct PurchaseRequest {
    QString packageId;
};

struct RechargeResponse {
    QString orderNo;
    QString qrUrl; ///< the payment code's text, to be shown as a QR code
    double amountYuan = 0;

    bool operator==(const RechargeResponse &) const = default;
};

struct RechargeStatusResponse {
    QString status; ///< "paid" once the payment arrived
    std::optional<qint64> newBalance;

    bool operator==(const RechargeStatusResponse &) const = default;
};

struct WeeklyUsageItem {
    QString date; ///< "yyyy-MM-dd"
    qint64 tokens = 0;

    bool operator==(const WeeklyUsageItem &) const = default;
};

struct ChangePasswordRequest {
    QString oldPassword;
    QString newPassword;
};

Decoded<BalanceResponse> decodeBalance(JSONValue value);
Decoded<PaginatedTransactions> decodeTransactions(JSONValue value);
Decoded<RechargeResponse> decodeRecharge(JSONValue value);
Decoded<RechargeStatusResponse> decodeRechargeStatus(JSONValue value);
Decoded<QList<WeeklyUsageItem>> decodeWeeklyUsage(JSONValue array);

QByteArray encode(const PurchaseRequest &request);
QByteArray encode(const ChangePasswordRequest &request);
