#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>

namespace devserver {

enum class EntryType { Purchase, Consume, Refund, Bonus };

/// What happens to an account's tokens. Consuming takes them away, everything else adds them.
struct Booking {
    EntryType type;
    qint64 amount; // not negative
    QString description;
    QString softwareId; // empty when no software of the catalog used the tokens
    QString softwareName;
    QDateTime time;
};

/// A booking as it stands in an account's history.
struct Entry {
    QString id;
    Booking booking;
    qint64 balance; // after it
};

/// The tokens of every account: a history whose amounts add up to the balance.
class Ledger
{
public:
    /// Bookings of one account come in the order of their times.
    void book(const QString &userId, Booking booking);
    void clear(const QString &userId);

    qint64 balance(const QString &userId) const;
    /// The oldest first; valid until the next booking.
    const QList<Entry> &entries(const QString &userId) const;
    /// Tokens consumed from `from` on and before `to`.
    qint64 consumed(const QString &userId, const QDateTime &from, const QDateTime &to) const;

private:
    QHash<QString, QList<Entry>> m_entries;
    int m_lastId = 0;
};

} // namespace devserver
