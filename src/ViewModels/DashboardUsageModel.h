#pragma once

#include <QAbstractListModel>
#include <QDate>

/// What was used on one day.
struct DailyUsage {
    QDate date;
    qint64 count = 0; ///< tokens

    bool operator==(const DailyUsage &) const = default;
};

/// The bars of the usage chart, in the server's order. Roles: "countText", "dateText" ("MM/dd") and
/// "barHeight" in points.
class DashboardUsageModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY isEmptyChanged)

public:
    enum Role { Count = Qt::UserRole, Date, BarHeight };

    using QAbstractListModel::QAbstractListModel;

    void setUsage(const QList<DailyUsage> &usage);
    const QList<DailyUsage> &usage() const { return m_usage; }
    bool isEmpty() const { return m_usage.isEmpty(); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void isEmptyChanged();

private:
    double barHeight(qint64 count) const;

    QList<DailyUsage> m_usage;
    qint64 m_largestCount = 0;
};
