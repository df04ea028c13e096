#include "TokenTransaction.h"

#include "Utilities/Text.h"

#include <algorithm>

namespace {

constexpr std::array<QStringView, 4> typeTexts{u"purchase", u"consume", u"refund", u"bonus"};

/// The number that these digits write; none when there is anything but ASCII digits.
std::optional<int> number(QStringView digits)
{
    const auto isDigit = [](QChar digit) { return digit >= u'0' && digit <= u'9'; };
    return std::ranges::all_of(digits, isDigit) ? std::optional(digits.toInt()) : std::nullopt;
}

/// Reads "yyyy-MM-dd HH:mm:ss" in UTC. QDateTime's own reading of a pattern takes 20 µs, which a
/// long history would make the window wait for.
std::optional<QDateTime> readTime(QStringView text)
{
    if (text.size() != 19 || text[4] != u'-' || text[7] != u'-' || text[10] != u' ' || text[13] != u':'
        || text[16] != u':')
        return {};
    const auto field = [&](int from, int size) { return number(text.sliced(from, size)).value_or(-1); };
    const QDate date(field(0, 4), field(5, 2), field(8, 2));
    const QTime time(field(11, 2), field(14, 2), field(17, 2));
    const bool isYear = field(0, 4) > 0; // QDate has years before the first as well
    return isYear && date.isValid() && time.isValid() ? std::optional(QDateTime(date, time, Qt::UTC)) : std::nullopt;
}

} // namespace

QString TransactionType::rawValue(Value type)
{
    return typeTexts.at(type).toString();
}

std::optional<TransactionType::Value> TransactionType::fromRawValue(QStringView rawValue)
{
    const auto text = std::ranges::find(typeTexts, rawValue);
    return text == typeTexts.end() ? std::nullopt : std::optional(Value(text - typeTexts.begin()));
}

TokenTransaction TokenTransaction::from(const TransactionResponse &response, const QDateTime &now)
{
    return {
        .id = response.id,
        .type = TransactionType::fromRawValue(response.type).value_or(TransactionType::Consume),
        .amount = response.amount,
        .balance = response.balance,
        .softwareId = response.softwareId,
        .softwareName = response.softwareName ? std::optional(displayText(*response.softwareName)) : std::nullopt,
        .transactionDescription = displayText(response.description),
        .createdAt = readTime(response.createdAt).value_or(now),
    };
}

QString TokenTransaction::formattedAmount() const
{
    const quint64 magnitude = amount < 0 ? 0 - quint64(amount) : quint64(amount); // the least one has no negative
    return (type == TransactionType::Consume ? u'-' : u'+') + QString::number(magnitude);
}
