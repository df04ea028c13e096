#pragma once

#include "Models/TokenBalance.h"
#include "Models/TokenTab.h"
#include "TokenPackageListModel.h"
#include "TokenTransactionListModel.h"

#include <QCoroTask>
#include <stop_token>

class AuthService;
class Clock;
class TokenAPIService;

/// Everything behind the token screens: balance, packages, history, and buying a package, which
/// means creating an order, showing its payment code and asking for its state until it is paid.
/// Signing out ends a purchase. Interface thread only.
class TokenViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(TokenBalance *balance READ balance NOTIFY balanceChanged)
    Q_PROPERTY(TokenPackageListModel *packages READ packages CONSTANT)
    Q_PROPERTY(TokenTransactionListModel *transactions READ transactions CONSTANT)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool isPurchasing READ isPurchasing NOTIFY isPurchasingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QString successMessage READ successMessage NOTIFY successMessageChanged)
    Q_PROPERTY(TokenTab::Value selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged)
    Q_PROPERTY(QStringList tabTitles READ tabTitles CONSTANT)
    Q_PROPERTY(bool showPaymentSheet READ showPaymentSheet WRITE setShowPaymentSheet NOTIFY showPaymentSheetChanged)
    Q_PROPERTY(QString paymentQRUrl READ paymentQRUrl NOTIFY paymentChanged)
    Q_PROPERTY(QString paymentAmountText READ paymentAmountText NOTIFY paymentChanged)
    Q_PROPERTY(bool isPolling READ isPolling NOTIFY isPollingChanged)

public:
    /// What the view model works with; the objects must outlive it.
    struct Services {
        TokenAPIService &api;
        AuthService &auth;
        Clock &clock;
    };

    /// Wired to the shared services.
    explicit TokenViewModel(QObject *parent = nullptr);
    explicit TokenViewModel(Services services, QObject *parent = nullptr);
    ~TokenViewModel() override;

    // Loading: what cannot be loaded stays as it is and is not told of; the packages become the
    // built-in ones.

    /// Loads balance, packages and history, one after the other.
    QCoro::Task<> loadData();
    QCoro::Task<> loadBalance();
    QCoro::Task<> loadTransactions();

    // Buying

    /// Creates an order, opens the payment sheet and begins to poll. Of purchases begun one after
    /// the other only the last counts.
    QCoro::Task<> purchase(TokenPackage package);
    /// Asks for the order's state every 2 seconds in the background until it is paid, stopPolling()
    /// is called or 300 seconds have passed. Ends an earlier poll.
    void pollPaymentStatus();
    Q_INVOKABLE void stopPolling();

    /// Takes errorMessage and successMessage away.
    Q_INVOKABLE void dismissMessages();

    // State

    TokenBalance *balance() const { return m_balance; } ///< null until one was loaded
    TokenPackageListModel *packages() { return &m_packages; }
    TokenTransactionListModel *transactions() { return &m_transactions; }
    bool isLoading() const { return m_isLoading; }
    /// An order is being created.
    bool isPurchasing() const { return m_isPurchasing; }
    QString errorMessage() const { return m_errorMessage; } ///< empty when none
    QString successMessage() const { return m_successMessage; } ///< empty when none
    TokenTab::Value selectedTab() const { return m_selectedTab; }
    void setSelectedTab(TokenTab::Value tab);
    /// In the order of TokenTab.
    QStringList tabTitles() const;
    bool showPaymentSheet() const { return m_showPaymentSheet; }
    /// Closing the sheet stops polling.
    void setShowPaymentSheet(bool show);
    QString paymentQRUrl() const { return m_paymentQRUrl; }
    QString paymentOrderNo() const { return m_paymentOrderNo; }
    double paymentAmount() const { return m_paymentAmount; } ///< yuan
    QString paymentAmountText() const; ///< "¥ 39.90"
    QString paymentPackageName() const { return m_paymentPackageName; }
    bool isPolling() const { return m_isPolling; }

Q_SIGNALS:
    void balanceChanged();
    void isLoadingChanged();
    void isPurchasingChanged();
    void errorMessageChanged();
    void successMessageChanged();
    void selectedTabChanged();
    void showPaymentSheetChanged();
    void paymentChanged();
    void isPollingChanged();

private:
    /// One poll; no longer touches the view model once it is told to stop.
    QCoro::Task<> poll(std::stop_token stop);
    QCoro::Task<> finishPayment();
    void giveUpPayment();
    void abandonPurchase();

    void setIsLoading(bool isLoading);
    void setIsPurchasing(bool isPurchasing);
    void setIsPolling(bool isPolling);
    void setErrorMessage(const QString &message);
    void setSuccessMessage(const QString &message);

    Services m_services;
    TokenBalance *m_balance = nullptr;
    TokenPackageListModel m_packages;
    TokenTransactionListModel m_transactions;
    bool m_isLoading = false;
    bool m_isPurchasing = false;
    QString m_errorMessage;
    QString m_successMessage;
    TokenTab::Value m_selectedTab = TokenTab::Purchase;
    bool m_showPaymentSheet = false;
    QString m_paymentQRUrl;
    QString m_paymentOrderNo;
    double m_paymentAmount = 0;
    QString m_paymentPackageName;
    bool m_isPolling = false;
    int m_purchase = 0; ///< number of the last one begun
    std::stop_source m_pollingTask{std::nostopstate};
};
