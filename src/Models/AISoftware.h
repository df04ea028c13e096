#pragma once

#include "SoftwareCatalog.h"

#include <QDateTime>
#include <QObject>

/// One piece of software: its catalog entry joined with what this machine knows about it. One shared
/// object per id, observed by several screens at once. Interface thread only.
class AISoftware : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString id READ id CONSTANT)
    Q_PROPERTY(QString name MEMBER name NOTIFY catalogChanged)
    Q_PROPERTY(QString softwareDescription MEMBER softwareDescription NOTIFY catalogChanged)
    Q_PROPERTY(SoftwareCategory::Value category MEMBER category NOTIFY catalogChanged)
    Q_PROPERTY(QString categoryName READ categoryName NOTIFY catalogChanged)
    Q_PROPERTY(QString iconName MEMBER iconName NOTIFY catalogChanged)
    Q_PROPERTY(QString iconURL MEMBER iconURL NOTIFY catalogChanged)
    Q_PROPERTY(QString configCommand MEMBER configCommand NOTIFY catalogChanged)
    Q_PROPERTY(QString latestVersion MEMBER latestVersion NOTIFY catalogChanged)
    Q_PROPERTY(QString homepageURL MEMBER homepageURL NOTIFY catalogChanged)
    Q_PROPERTY(bool hasWebPage READ hasWebPage NOTIFY catalogChanged)
    Q_PROPERTY(QStringList dependencies MEMBER dependencies NOTIFY catalogChanged)
    Q_PROPERTY(QString version READ version NOTIFY versionChanged)
    Q_PROPERTY(SoftwareStatus::Value status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString statusName READ statusName NOTIFY statusChanged)
    Q_PROPERTY(bool isUsable READ isUsable NOTIFY statusChanged)
    Q_PROPERTY(QDateTime installedAt READ installedAtOrInvalid NOTIFY installedAtChanged)

public:
    explicit AISoftware(QString id, QObject *parent = nullptr);

    /// Overwrites what the catalog says about it, except what takeOffer() takes. The entry must have
    /// this object's id. Texts for a screen are as displayText() makes them.
    void takeDescription(const SoftwareCatalogEntry &entry);
    /// Overwrites the version the catalog offers and the command line that upgrades to it.
    void takeOffer(const SoftwareCatalogEntry &entry);

    const QString &id() const { return m_id; }
    const QString &version() const { return m_version; }
    SoftwareStatus::Value status() const { return m_status; }
    const std::optional<QDateTime> &installedAt() const { return m_installedAt; }

    // Observers are told of every assignment, of an equal value too.
    /// As displayText() makes it.
    void setVersion(const QString &version);
    void setStatus(SoftwareStatus::Value status);
    void setInstalledAt(const std::optional<QDateTime> &installedAt);

    QString categoryName() const { return SoftwareCategory::displayName(category); }
    QString statusName() const { return SoftwareStatus::displayName(m_status); }
    /// homepageURL is one that a browser may be sent to: http or https.
    bool hasWebPage() const;
    bool isUsable() const { return SoftwareStatus::isUsable(m_status); }

    // Changed while the list is built or rebuilt only; catalogChanged tells of it.
    QString name;
    QString softwareDescription;
    SoftwareCategory::Value category = SoftwareCategory::Tool;
    QString iconName; ///< symbol name
    QString iconURL; ///< empty when none
    QString installCommand;
    QString uninstallCommand;
    QString startCommand;
    QString stopCommand;
    QString detectCommand;
    QString configCommand;
    QString latestVersion; ///< empty when unknown
    QString upgradeCommand;
    QString homepageURL;
    QStringList dependencies; ///< for a screen

    std::optional<QDateTime> lastUsedAt;
    qint64 tokenConsumedToday = 0;

Q_SIGNALS:
    void catalogChanged();
    void versionChanged();
    void statusChanged();
    void installedAtChanged();

private:
    QDateTime installedAtOrInvalid() const { return m_installedAt.value_or(QDateTime()); }

    const QString m_id;
    QString m_version;
    SoftwareStatus::Value m_status = SoftwareStatus::NotInstalled;
    std::optional<QDateTime> m_installedAt;
};
