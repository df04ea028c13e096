#pragma once

#include "TokenRecords.h"

#include <QDateTime>
#include <QObject>

/// What an account has and has used, in tokens. Observed by the screens; interface thread only.
class TokenBalance : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString totalBalanceText READ totalBalanceText NOTIFY changed)
    Q_PROPERTY(QString usedTodayText READ usedTodayText NOTIFY changed)
    Q_PROPERTY(QString usedThisMonthText READ usedThisMonthText NOTIFY changed)

public:
    explicit TokenBalance(QString userId, QObject *parent = nullptr);

    /// Takes the server's figures over, as those of this moment.
    void update(const BalanceResponse &figures);

    const QString &userId() const { return m_userId; }
    qint64 totalBalance() const { return m_figures.totalBalance; }
    qint64 usedToday() const { return m_figures.usedToday; }
    qint64 usedThisMonth() const { return m_figures.usedThisMonth; }
    const QDateTime &lastUpdated() const { return m_lastUpdated; }

    // As formatTokenCount() writes them.
    QString totalBalanceText() const;
    QString usedTodayText() const;
    QString usedThisMonthText() const;

Q_SIGNALS:
    void changed();

private:
    const QString m_userId;
    BalanceResponse m_figures;
    QDateTime m_lastUpdated;
};
