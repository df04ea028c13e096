#include "AISoftware.h"

#include "Utilities/Text.h"

#include <QUrl>

AISoftware::AISoftware(QString id, QObject *parent)
    : QObject(parent)
    , m_id(std::move(id))
{
}

void AISoftware::takeDescription(const SoftwareCatalogEntry &entry)
{
    name = displayText(entry.name);
    softwareDescription = displayText(entry.description);
    category = entry.category;
    iconName = entry.iconName;
    iconURL = entry.iconURL;
    installCommand = entry.installCommand;
    uninstallCommand = entry.uninstallCommand;
    startCommand = entry.startCommand;
    stopCommand = entry.stopCommand;
    detectCommand = entry.detectCommand;
    configCommand = entry.configCommand;
    homepageURL = displayText(entry.homepageURL);
    dependencies.clear();
    for (const QString &dependency : entry.dependencies)
        dependencies.append(displayText(dependency));
    Q_EMIT catalogChanged();
}

void AISoftware::takeOffer(const SoftwareCatalogEntry &entry)
{
    latestVersion = displayText(entry.version);
    upgradeCommand = entry.upgradeCommand;
    Q_EMIT catalogChanged();
}

bool AISoftware::hasWebPage() const
{
    const QString scheme = QUrl(homepageURL).scheme();
    return scheme == QLatin1String("https") || scheme == QLatin1String("http");
}

void AISoftware::setVersion(const QString &version)
{
    m_version = displayText(version);
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
