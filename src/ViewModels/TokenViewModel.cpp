#include "TokenViewModel.h"

#include "Models/TokenFormat.h"
#include "Platform/Clock.h"
#include "Services/AuthService.h"
#include "Services/TokenAPIService.h"

#include <QPointer>

using namespace std::chrono_literals;

static constexpr auto pollInterval = 2s;
static constexpr auto paymentTimeout = 300s;

TokenViewModel::TokenViewModel(QObject *parent)
    : TokenViewModel({TokenAPIService::shared(), AuthService::shared(), Clock::shared()}, parent)
{
}

TokenViewModel::TokenViewModel(Services services, QObject *parent)
    : QObject(parent)
    , m_services(services)
{
    connect(&m_services.auth, &AuthService::changed, this, [this] {
        if (!m_services.auth.isLoggedIn())
            abandonPurchase();
    });
}

TokenViewModel::~TokenViewModel()
{
    m_pollingTask.request_stop();
}

QCoro::Task<> TokenViewModel::loadData()
{
    const QPointer self(this);
    setIsLoading(true);
    co_await loadBalance();
    if (!self)
        co_return;
    const auto packages = co_await m_services.api.getPackages();
    if (!self)
        co_return;
    m_packages.setPackages(packages.value_or(TokenPackage::mockPackages()));
    co_await loadTransactions();
    if (self)
        setIsLoading(false);
}

QCoro::Task<> TokenViewModel::loadBalance()
{
    const QPointer self(this);
    const auto figures = co_await m_services.api.getBalance();
    if (!self || !figures)
        co_return;
    const bool isFirst = !m_balance;
    if (isFirst)
        m_balance = new TokenBalance(QStringLiteral("default"), this);
    m_balance->update(*figures);
    if (isFirst)
        Q_EMIT balanceChanged();
}

QCoro::Task<> TokenViewModel::loadTransactions()
{
    const QPointer self(this);
    const auto responses = co_await m_services.api.getTransactions();
    if (!self || !responses)
        co_return;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QList<TokenTransaction> transactions;
    transactions.reserve(responses->size());
    for (const TransactionResponse &response : *responses)
        transactions.append(TokenTransaction::from(response, now));
    m_transactions.setTransactions(transactions);
}

QCoro::Task<> TokenViewModel::purchase(TokenPackage package)
{
    const QPointer self(this);
    const int number = ++m_purchase;
    setIsPurchasing(true);
    dismissMessages();
    const auto order = co_await m_services.api.createRecharge(package.id);
    if (!self || number != m_purchase)
        co_return;
    if (order) {
        m_paymentQRUrl = order->qrUrl;
        m_paymentOrderNo = order->orderNo;
        m_paymentAmount = order->amountYuan;
        m_paymentPackageName = package.name;
        Q_EMIT paymentChanged();
        setShowPaymentSheet(true);
        pollPaymentStatus();
    } else {
        setErrorMessage(QStringLiteral("创建订单失败: ") + order.error().description());
    }
    setIsPurchasing(false);
}

void TokenViewModel::pollPaymentStatus()
{
    stopPolling();
    m_pollingTask = std::stop_source();
    setIsPolling(true);
    poll(m_pollingTask.get_token());
}

void TokenViewModel::stopPolling()
{
    m_pollingTask.request_stop();
    setIsPolling(false);
}

QCoro::Task<> TokenViewModel::poll(std::stop_token stop)
{
    const auto start = m_services.clock.now();
    while (m_services.clock.now() - start <= paymentTimeout) {
        co_await m_services.clock.sleep(pollInterval, stop);
        if (stop.stop_requested())
            co_return;
        const auto order = co_await m_services.api.checkRechargeStatus(m_paymentOrderNo);
        if (stop.stop_requested())
            co_return;
        if (order && order->status == QLatin1String("paid")) {
            finishPayment();
            co_return;
        }
    }
    giveUpPayment();
}

QCoro::Task<> TokenViewModel::finishPayment()
{
    const QPointer self(this);
    setShowPaymentSheet(false);
    setSuccessMessage(m_paymentPackageName + QStringLiteral(" 已到账"));
    co_await loadBalance();
    if (self)
        co_await loadTransactions();
}

void TokenViewModel::giveUpPayment()
{
    setErrorMessage(QStringLiteral("支付超时，请重新购买"));
    setShowPaymentSheet(false);
}

void TokenViewModel::abandonPurchase()
{
    ++m_purchase;
    setIsPurchasing(false);
    setShowPaymentSheet(false);
}

void TokenViewModel::dismissMessages()
{
    setErrorMessage({});
    setSuccessMessage({});
}

void TokenViewModel::setSelectedTab(TokenTab::Value tab)
{
    if (m_selectedTab == tab)
        return;
    m_selectedTab = tab;
    Q_EMIT selectedTabChanged();
}

QStringList TokenViewModel::tabTitles() const
{
    QStringList titles;
    for (const TokenTab::Value tab : TokenTab::allCases)
        titles.append(TokenTab::rawValue(tab));
    return titles;
}

void TokenViewModel::setShowPaymentSheet(bool show)
{
    if (!show)
        stopPolling();
    if (m_showPaymentSheet == show)
        return;
    m_showPaymentSheet = show;
    Q_EMIT showPaymentSheetChanged();
}

QString TokenViewModel::paymentAmountText() const
{
    return QStringLiteral("¥ ") + formatDecimal(m_paymentAmount, 2);
}

void TokenViewModel::setIsLoading(bool isLoading)
{
    if (m_isLoading == isLoading)
        return;
    m_isLoading = isLoading;
    Q_EMIT isLoadingChanged();
}

void TokenViewModel::setIsPurchasing(bool isPurchasing)
{
    if (m_isPurchasing == isPurchasing)
        return;
    m_isPurchasing = isPurchasing;
    Q_EMIT isPurchasingChanged();
}

void TokenViewModel::setIsPolling(bool isPolling)
{
    if (m_isPolling == isPolling)
        return;
    m_isPolling = isPolling;
    Q_EMIT isPollingChanged();
}

void TokenViewModel::setErrorMessage(const QString &message)
{
    if (m_errorMessage == message)
        return;
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}

void TokenViewModel::setSuccessMessage(const QString &message)
{
    if (m_successMessage == message)
        return;
    m_successMessage = message;
    Q_EMIT successMessageChanged();
}
