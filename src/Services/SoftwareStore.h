#pragma once

#include "Models/AISoftware.h"

#include <QHash>
#include <optional>

class UserDefaults;

/// What this machine last knew about one piece of software. JSON keys are the field names; dates
/// are numbers of seconds since 1 January 2001 00:00:00 UTC and, when absent, are not written.
struct StatusRecord {
    SoftwareStatus::Value status = SoftwareStatus::NotInstalled;
    QString version;
    std::optional<QDateTime> installedAt;
    std::optional<QDateTime> lastUsedAt;
    qint64 tokenConsumedToday = 0;

    bool operator==(const StatusRecord &) const = default;
};

/// The software this application knows, as one list shared by all screens, and the table of its
/// states kept across runs in the user defaults. Interface thread only.
class SoftwareStore : public QObject
{
    Q_OBJECT

public:
    using Table = QHash<QString, StatusRecord>; ///< by software id

    static SoftwareStore &shared();

    explicit SoftwareStore(UserDefaults &defaults);
    ~SoftwareStore() override;

    /// In display order. The store owns the objects. One leaves the list with its catalog entry and lives on until
    /// the next merge, since views let go of what they show only when they are drawn next.
    const QList<AISoftware *> &softwareList() const { return m_softwareList; }
    AISoftware *software(const QString &id) const { return m_softwareById.value(id); } ///< null when not listed

    /// Makes the list that of the catalog: describes what is listed already anew, appends what is
    /// new with its stored state, removes what is gone. Of entries with the same id the first counts.
    void merge(const SoftwareCatalog::Entries &catalog);

    // What is stored joins the stored table as it is by then, so that what other processes store meanwhile stays.

    /// Stores the software's state.
    void save(const AISoftware &software);
    /// Stores, at one go, what has changed in the state of all listed software since it was read or stored here.
    void saveAll();
    /// The stored table; empty when there is none or any of it does not decode.
    Table loadAll() const;

Q_SIGNALS:
    /// The list was merged, or the state of software in it stored.
    void changed();

private:
    void append(const SoftwareCatalogEntry &entry, const StatusRecord &record);
    /// With a table of known records, only what differs from them is stored where there is a record by then.
    void store(const Table &records, const std::optional<Table> &known);

    UserDefaults &m_defaults;
    QList<AISoftware *> m_softwareList;
    QList<AISoftware *> m_formerSoftware;
    QHash<QString, AISoftware *> m_softwareById;
    Table m_stored; ///< as last read or saved here
};
