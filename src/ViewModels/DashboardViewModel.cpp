#include "DashboardViewModel.h"

#include "Models/TokenFormat.h"
#include "Services/SoftwareStore.h"
#include "Services/TokenAPIService.h"

#include <QPointer>
#include <algorithm>

DashboardViewModel::DashboardViewModel(QObject *parent)
    : DashboardViewModel({SoftwareStore::shared(), TokenAPIService::shared()}, parent)
{
}

DashboardViewModel::DashboardViewModel(Services services, QObject *parent)
    : QObject(parent)
    , m_services(services)
{
    connect(&m_services.store, &SoftwareStore::changed, this, &DashboardViewModel::takeSoftware);
}

QCoro::Task<> DashboardViewModel::loadData()
{
    const QPointer self(this);
    takeSoftware();
    if (m_isLoading)
        co_return;
    setIsLoading(true);
    co_await loadBalance();
    if (self)
        co_await loadWeeklyUsage();
    if (self)
        setIsLoading(false);
}

void DashboardViewModel::takeSoftware()
{
    const auto &list = m_services.store.softwareList();
    m_softwareList.setSoftware(list);
    const auto isInstalled = [](const AISoftware *software) {
        return software->status() != SoftwareStatus::NotInstalled;
    };
    const auto isRunning = [](const AISoftware *software) { return software->status() == SoftwareStatus::Running; };
    m_stats.installedCount = int(std::ranges::count_if(list, isInstalled));
    m_stats.runningCount = int(std::ranges::count_if(list, isRunning));
    Q_EMIT statsChanged();
}

QCoro::Task<> DashboardViewModel::loadBalance()
{
    const QPointer self(this);
    const auto figures = co_await m_services.tokenAPI.getBalance();
    if (!self || !figures)
        co_return;
    m_stats.tokenBalance = figures->totalBalance;
    m_stats.usedToday = figures->usedToday;
    Q_EMIT statsChanged();
}

QCoro::Task<> DashboardViewModel::loadWeeklyUsage()
{
    const QPointer self(this);
    const auto items = co_await m_services.tokenAPI.getWeeklyUsage();
    if (!self)
        co_return;
    QList<DailyUsage> usage;
    for (const WeeklyUsageItem &item : items.value_or(QList<WeeklyUsageItem>()))
        if (const QDate date = QDate::fromString(item.date, u"yyyy-MM-dd"); date.isValid())
            usage.append({date, item.tokens});
    m_weeklyUsage.setUsage(usage);
}

QString DashboardViewModel::tokenBalanceText() const
{
    return formatTokenCount(m_stats.tokenBalance);
}

QString DashboardViewModel::usedTodayText() const
{
    return formatTokenCount(m_stats.usedToday);
}

void DashboardViewModel::setIsLoading(bool isLoading)
{
    if (m_isLoading == isLoading)
        return;
    m_isLoading = isLoading;
    Q_EMIT isLoadingChanged();
}
