#pragma once

#include "TokenRecords.h"

#include <QDateTime>
#include <QObject>
#include <array>

/// Why tokens moved.
namespace TransactionType {
Q_NAMESPACE

enum Value { Purchase, Consume, Refund, Bonus };
Q_ENUM_NS(Value)

inline constexpr std::array allCases{Purchase, Consume, Refund, Bonus};

/// The text it is transmitted and shown by: "purchase", "consume", "refund", "bonus".
QString rawValue(Value type);
/// The case of an exact, case-sensitive raw text.
std::optional<Value> fromRawValue(QStringView rawValue);

} // namespace TransactionType

/// One line of an account's history.
struct TokenTransaction {
    QString id;
    TransactionType::Value type = TransactionType::Consume;
    qint64 amount = 0;
    qint64 balance = 0; ///< after the transaction
    std::optional<QString> softwareId;
    std::optional<QString> softwareName;
    QString transactionDescription;
    QDateTime createdAt; ///< UTC

    /// A type of which nothing is known counts as consumed; a time that cannot be read becomes `now`.
    static TokenTransaction from(const TransactionResponse &response, const QDateTime &now);

    /// "-1500" for what was consumed, else "+1500", whatever the amount's own sign.
    QString formattedAmount() const;

    bool operator==(const TokenTransaction &) const = default;
};
