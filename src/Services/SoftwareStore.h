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
class SoftwareStore
{
public:
    using Table = QHash<QString, StatusRecord>; ///< by software id

    static SoftwareStore &shared();

    explicit SoftwareStore(UserDefaults &defaults);
    ~SoftwareStore();
    SoftwareStore(const SoftwareStore &) = delete;
    SoftwareStore &operator=(const SoftwareStore &) = delete;

    /// In display order. The store owns the objects; one leaves the list with its catalog entry and
    /// is deleted from the event loop.
    const QList<AISoftware *> &softwareList() const { return m_softwareList; }
    AISoftware *software(const QString &id) const { return m_softwareById.value(id); } ///< null when not listed

    /// Makes the list that of the catalog: describes what is listed already anew, appends what is
    /// new with its stored state, removes what is gone.
    void merge(const SoftwareCatalog::Entries &catalog);

    /// Stores the software's state, leaving the other records as they are.
    void save(const AISoftware &software);
    /// The stored table; empty when there is none or any of it does not decode.
    Table loadAll() const;

private:
    void saveAll(const Table &table);
    void append(const SoftwareCatalogEntry &entry, const StatusRecord &record);

    UserDefaults &m_defaults;
    QList<AISoftware *> m_softwareList;
    QHash<QString, AISoftware *> m_softwareById;
};
