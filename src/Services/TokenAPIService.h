#pragma once

#include "APIService.h"
#include "Models/TokenPackage.h"
#include "Models/TokenRecords.h"

/// The token account's endpoints of the account server, and the change of its password. An answer
/// without data is an invalid response; the envelope's code counts for the password only.
/// Interface thread only.
class TokenAPIService
{
public:
    template<typename T> using Result = std::expected<T, APIError>;

    static TokenAPIService &shared();

    /// `api` must outlive the service.
    explicit TokenAPIService(APIService &api);

    QCoro::Task<Result<BalanceResponse>> getBalance();
    QCoro::Task<Result<QList<TokenPackage>>> getPackages();
    /// The server's first page.
    QCoro::Task<Result<QList<TransactionResponse>>> getTransactions();
    QCoro::Task<Result<RechargeResponse>> createRecharge(QString packageId);
    /// `orderNo` stands in the path as it is.
    QCoro::Task<Result<RechargeStatusResponse>> checkRechargeStatus(QString orderNo);
    QCoro::Task<Result<QList<WeeklyUsageItem>>> getWeeklyUsage();
    /// A code other than 0 is an HTTP error with that code and the envelope's message.
    QCoro::Task<Result<void>> changePassword(QString oldPassword, QString newPassword);

private:
    APIService &m_api;
};
