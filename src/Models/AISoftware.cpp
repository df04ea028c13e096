#include "AISoftware.h"

AISoftware::AISoftware(QString id, QObject *parent)
    : QObject(parent)
    , m_id(std::move(id))
{
}

void AISoftware::takeDescription(const SoftwareCatalogEntry &entry)
{
    name = entry.name;
    softwareDescription = entry.description;
    category = entry.category;
    iconName = entry.iconName;
    iconURL = entry.iconURL;
    installCommand = entry.installCommand;
    uninstallCommand = entry.uninstallCommand;
    startCommand = entry.startCommand;
    stopCommand = entry.stopCommand;
    detectCommand = entry.detectCommand;
    configCommand = entry.configCommand;
    homepageURL = entry.homepageURL;
    dependencies = entry.dependencies;
    Q_EMIT catalogChanged();
}

void AISoftware::takeOffer(const SoftwareCatalogEntry &entry)
{
    latestVersion = entry.version;
    upgradeCommand = entry.upgradeCommand;
    Q_EMIT catalogChanged();
}

void AISoftware::setVersion(const QString &version)
{
    m_version = version;
    Q_EMIT versionChanged();
}

void AISoftware::setStatus(SoftwareStatus::Value status)
{
    m_status = status;
    Q_EMIT statusChanged();
}

void AISoftware::setInstalledAt(const std::optional<QDateTime> &installedAt)
{
    m_installedAt = installedAt;
    Q_EMIT installedAtChanged();
}
