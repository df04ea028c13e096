#include "TokenBalance.h"

#include "TokenFormat.h"

TokenBalance::TokenBalance(QString userId, QObject *parent)
    : QObject(parent)
    , m_userId(std::move(userId))
{
}

void TokenBalance::update(const BalanceResponse &figures)
{
    m_figures = figures;
    m_lastUpdated = QDateTime::currentDateTime();
    Q_EMIT changed();
}

QString TokenBalance::totalBalanceText() const
{
    return formatTokenCount(m_figures.totalBalance);
}

QString TokenBalance::usedTodayText() const
{
    return formatTokenCount(m_figures.usedToday);
}

QString TokenBalance::usedThisMonthText() const
{
    return formatTokenCount(m_figures.usedThisMonth);
}
