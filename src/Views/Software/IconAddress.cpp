#include "IconAddress.h"

#include "Utilities/Deployment.h"

QUrl IconAddress::resolve(const QString &iconURL)
{
    if (iconURL.isEmpty() || iconURL.startsWith(QLatin1String("http")))
        return QUrl(iconURL);
    return QUrl(Deployment::accountOrigin() + iconURL);
}
