#include "Ledger.h"

#include <algorithm>
#include <numeric>

namespace devserver {

void Ledger::book(const QString &userId, Booking booking)
{
    const qint64 change = booking.type == EntryType::Consume ? -booking.amount : booking.amount;
    const qint64 newBalance = balance(userId) + change;
    const QString id = QStringLiteral("tx-%1").arg(++m_lastId, 8, 10, QLatin1Char('0'));
    m_entries[userId].append({.id = id, .booking = std::move(booking), .balance = newBalance});
}

void Ledger::clear(const QString &userId)
{
    m_entries.remove(userId);
}

qint64 Ledger::balance(const QString &userId) const
{
    const QList<Entry> &all = entries(userId);
    return all.isEmpty() ? 0 : all.last().balance;
}

const QList<Entry> &Ledger::entries(const QString &userId) const
{
    static const QList<Entry> none;
    const auto found = m_entries.constFind(userId);
    return found == m_entries.cend() ? none : *found;
}

qint64 Ledger::consumed(const QString &userId, const QDateTime &from, const QDateTime &to) const
{
    const QList<Entry> &all = entries(userId);
    return std::accumulate(all.cbegin(), all.cend(), qint64(0), [&](qint64 sum, const Entry &entry) {
        const Booking &booking = entry.booking;
        const bool counts = booking.type == EntryType::Consume && booking.time >= from && booking.time < to;
        return counts ? sum + booking.amount : sum;
    });
}

} // namespace devserver
