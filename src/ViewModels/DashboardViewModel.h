#pragma once

#include "DashboardUsageModel.h"
#include "SoftwareListModel.h"

#include <QCoroTask>

class SoftwareStore;
class TokenAPIService;

/// The dashboard's figures. Software is counted whenever the store changes, the account when it is told to load; a
/// failure there shows no message. Interface thread only.
class DashboardViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int installedCount READ installedCount NOTIFY statsChanged)
    Q_PROPERTY(int runningCount READ runningCount NOTIFY statsChanged)
    Q_PROPERTY(QString tokenBalanceText READ tokenBalanceText NOTIFY statsChanged)
    Q_PROPERTY(QString usedTodayText READ usedTodayText NOTIFY statsChanged)
    Q_PROPERTY(DashboardUsageModel *weeklyUsage READ weeklyUsage CONSTANT)
    Q_PROPERTY(SoftwareListModel *softwareList READ softwareList CONSTANT)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)

public:
    /// What the view model works with; the objects must outlive it.
    struct Services {
        SoftwareStore &store;
        TokenAPIService &tokenAPI;
    };

    /// Wired to the shared services.
    explicit DashboardViewModel(QObject *parent = nullptr);
    explicit DashboardViewModel(Services services, QObject *parent = nullptr);

    /// Takes the software over as the store has it, then asks for the balance and for the week's
    /// usage, unless an earlier call is still asking. Without an answer the balance stays as it is and the usage
    /// becomes empty.
    QCoro::Task<> loadData();

    /// Whatever is not "not installed", operations that are under way or failed included.
    int installedCount() const { return m_stats.installedCount; }
    int runningCount() const { return m_stats.runningCount; }
    QString tokenBalanceText() const; ///< as formatTokenCount() writes it
    QString usedTodayText() const; ///< as formatTokenCount() writes it
    DashboardUsageModel *weeklyUsage() { return &m_weeklyUsage; }
    /// The store's.
    SoftwareListModel *softwareList() { return &m_softwareList; }
    bool isLoading() const { return m_isLoading; }

Q_SIGNALS:
    void statsChanged();
    void isLoadingChanged();

private:
    struct Stats {
        int installedCount = 0;
        int runningCount = 0;
        qint64 tokenBalance = 0;
        qint64 usedToday = 0;
    };

    void takeSoftware();
    QCoro::Task<> loadBalance();
    QCoro::Task<> loadWeeklyUsage();
    void setIsLoading(bool isLoading);

    Services m_services;
    Stats m_stats;
    DashboardUsageModel m_weeklyUsage;
    SoftwareListModel m_softwareList;
    bool m_isLoading = false;
};
