#include "Fuzz.h"

#include "Models/APIResponse.h"
#include "Models/TokenFormat.h"
#include "Models/TokenPackage.h"
#include "Models/TokenRecords.h"
#include "Models/TokenTransaction.h"
#include "Models/VerifyResponse.h"

#include <array>

namespace {

const QDateTime now = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

/// What the envelope holds when its data is what `decode` reads.
template<typename Decode> auto dataIn(QByteArrayView json, Decode decode)
{
    auto response = decodeAPIResponse(json, decode);
    return response ? std::move(response->data) : std::nullopt;
}

void expectShown(const QString &text)
{
    Fuzz::expect(!text.isEmpty() && Fuzz::isText(text), "what is shown is text");
}

void showPackage(const TokenPackage &package)
{
    expectShown(package.formattedTokenCount());
    expectShown(package.formattedPrice());
    Fuzz::expect(package.formattedUnitPrice().isEmpty() == (package.tokenCount == 0), "only nothing has no unit price");
    Fuzz::expect(package.formattedDiscount().isEmpty() == !package.discount, "every discount is shown");
}

void showTransaction(const TransactionResponse &response)
{
    const auto transaction = TokenTransaction::from(response, now);
    Fuzz::expect(transaction.createdAt.isValid(), "a transaction has a time");
    expectShown(transaction.formattedAmount());
}

void readVerification(QByteArrayView json)
{
    const auto response = decodeJSON(json, decodeVerifyResponse);
    if (response && response->data)
        Fuzz::expect(Fuzz::isText(response->data->userId), "a user's id is text");
}

void readUsage(QByteArrayView json)
{
    for (const WeeklyUsageItem &day : dataIn(json, decodeWeeklyUsage).value_or(QList<WeeklyUsageItem>()))
        Fuzz::expect(Fuzz::isText(day.date), "a day is text");
}

void readOrder(QByteArrayView json)
{
    if (const auto order = dataIn(json, decodeRecharge))
        Fuzz::expect(Fuzz::isText(order->orderNo) && Fuzz::isText(order->qrUrl), "an order's fields are text");
}

void readOrderStatus(QByteArrayView json)
{
    if (const auto status = dataIn(json, decodeRechargeStatus))
        Fuzz::expect(Fuzz::isText(status->status), "an order's status is text");
}

void readBalance(QByteArrayView json)
{
    if (const auto balance = dataIn(json, decodeBalance))
        expectShown(formatTokenCount(balance->totalBalance));
}

void readPackages(QByteArrayView json)
{
    for (const TokenPackage &package : dataIn(json, decodePackages).value_or(QList<TokenPackage>()))
        showPackage(package);
}

void readTransactions(QByteArrayView json)
{
    if (const auto page = dataIn(json, decodeTransactions))
        for (const TransactionResponse &transaction : page->transactions)
            showTransaction(transaction);
}

constexpr std::array readers{readBalance,     readPackages, readTransactions, readOrder,
                             readOrderStatus, readUsage,    readVerification};

} // namespace

/// An answer of the account server, up to the texts that are made of it; the first byte decides to what question.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > 0)
        readers.at(data[0] % readers.size())(Fuzz::bytesOf(data, size).sliced(1));
    return 0;
}
