#include "TokenAPIService.h"

namespace {

template<typename T> TokenAPIService::Result<T> dataOf(APIService::Result<T> response)
{
    if (!response)
        return std::unexpected(std::move(response.error()));
    if (!response->data)
        return std::unexpected(APIError(APIError::Kind::InvalidResponse));
    return std::move(*response->data);
}

} // namespace

TokenAPIService &TokenAPIService::shared()
{
    static TokenAPIService service(APIService::shared());
    return service;
}

TokenAPIService::TokenAPIService(APIService &api)
    : m_api(api)
{
}

QCoro::Task<TokenAPIService::Result<BalanceResponse>> TokenAPIService::getBalance()
{
    co_return dataOf(co_await m_api.get(QStringLiteral("/token/balance"), decodeBalance));
}

QCoro::Task<TokenAPIService::Result<QList<TokenPackage>>> TokenAPIService::getPackages()
{
    co_return dataOf(co_await m_api.get(QStringLiteral("/token/packages"), decodePackages));
}

QCoro::Task<TokenAPIService::Result<QList<TransactionResponse>>> TokenAPIService::getTransactions()
{
    auto page = dataOf(co_await m_api.get(QStringLiteral("/token/transactions"), decodeTransactions));
    if (!page)
        co_return std::unexpected(page.error());
    co_return std::move(page->transactions);
}

QCoro::Task<TokenAPIService::Result<RechargeResponse>> TokenAPIService::createRecharge(QString packageId)
{
    const QByteArray body = encode(PurchaseRequest{packageId});
    co_return dataOf(co_await m_api.post(QStringLiteral("/token/recharge"), body, decodeRecharge));
}

QCoro::Task<TokenAPIService::Result<RechargeStatusResponse>> TokenAPIService::checkRechargeStatus(QString orderNo)
{
    const QString path = QStringLiteral("/token/recharge/") + orderNo + QStringLiteral("/status");
    co_return dataOf(co_await m_api.get(path, decodeRechargeStatus));
}

QCoro::Task<TokenAPIService::Result<QList<WeeklyUsageItem>>> TokenAPIService::getWeeklyUsage()
{
    co_return dataOf(co_await m_api.get(QStringLiteral("/token/usage/weekly"), decodeWeeklyUsage));
}

QCoro::Task<TokenAPIService::Result<void>> TokenAPIService::changePassword(QString oldPassword, QString newPassword)
{
    const QByteArray body = encode(ChangePasswordRequest{oldPassword, newPassword});
    const auto response = co_await m_api.post(QStringLiteral("/user/change-password"), body, decodeText);
    if (!response)
        co_return std::unexpected(response.error());
    if (response->code != 0)
        co_return std::unexpected(APIError(APIError::Kind::HTTPError, response->message, response->code));
    co_return Result<void>();
}
