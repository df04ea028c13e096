#include "Deployment.h"

#include "DeploymentHosts.h"

#include <QHostAddress>
#include <QUrl>

namespace {

bool isLoopback(const QUrl &url)
{
    return url.host() == QLatin1String("localhost") || QHostAddress(url.host()).isLoopback();
}

QString originOrOverride(const char *configured)
{
    const QUrl override = QUrl(qEnvironmentVariable("VAELIX_SERVER_ORIGIN"), QUrl::StrictMode);
    const bool isHTTP = override.scheme() == QLatin1String("http") || override.scheme() == QLatin1String("https");
    if (override.isValid() && isHTTP && isLoopback(override))
        return override.toString(QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    return QString::fromLatin1(configured);
}

} // namespace

QString Deployment::accountOrigin()
{
    return originOrOverride(VAELIX_ACCOUNT_ORIGIN);
}

QString Deployment::loginOrigin()
{
    return originOrOverride(VAELIX_LOGIN_ORIGIN);
}

QString Deployment::updateOrigin()
{
    return originOrOverride(VAELIX_UPDATE_ORIGIN);
}

QString Deployment::cloudAPIOrigin()
{
    return originOrOverride(VAELIX_CLOUD_API_ORIGIN);
}

QString Deployment::webOrigin()
{
    return originOrOverride(VAELIX_WEB_ORIGIN);
}

QString Deployment::qqBotOrigin()
{
    return originOrOverride(VAELIX_QQBOT_ORIGIN);
}
