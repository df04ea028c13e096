#include "DashboardUsageModel.h"

#include <algorithm>

static constexpr double highestBar = 140;
static constexpr double lowestBar = 4;

void DashboardUsageModel::setUsage(const QList<DailyUsage> &usage)
{
    if (m_usage == usage)
        return;
    const bool wasEmpty = isEmpty();
    beginResetModel();
    m_usage = usage;
    const auto largest = std::ranges::max_element(m_usage, {}, &DailyUsage::count);
    m_largestCount = largest == m_usage.end() ? 0 : largest->count;
    endResetModel();
    if (isEmpty() != wasEmpty)
        Q_EMIT isEmptyChanged();
}

int DashboardUsageModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_usage.size());
}

QVariant DashboardUsageModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_usage.size())
        return {};
    const DailyUsage &day = m_usage[index.row()];
    switch (role) {
    case Count:
        return QString::number(day.count);
    case Date:
    case Qt::DisplayRole:
        return day.date.toString(u"MM/dd");
    case BarHeight:
        return barHeight(day.count);
    default:
        return {};
    }
}

QHash<int, QByteArray> DashboardUsageModel::roleNames() const
{
    return {{Count, "countText"}, {Date, "dateText"}, {BarHeight, "barHeight"}};
}

double DashboardUsageModel::barHeight(qint64 count) const
{
    if (m_largestCount <= 0)
        return lowestBar;
    return std::max(lowestBar, double(count) / double(m_largestCount) * highestBar);
}
