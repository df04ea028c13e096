#include "LoginNavigation.h"

#include "Utilities/Deployment.h"

#include <QFile>

namespace {

bool isAtOrUnder(const QString &host, const QString &origin)
{
    const QString suffix = QUrl(origin).host();
    return host == suffix || host.endsWith(u'.' + suffix);
}

} // namespace

bool LoginNavigation::isCallback(const QUrl &url)
{
    return url.scheme() == QLatin1String("x-vaelix");
}

bool LoginNavigation::isCallbackPage(const QUrl &url)
{
    const QString host = url.host();
    const bool isOurs = isAtOrUnder(host, Deployment::accountOrigin()) || isAtOrUnder(host, Deployment::loginOrigin());
    return isOurs && url.path().startsWith(QLatin1String("/auth/callback"));
}

QString LoginNavigation::styleScript()
{
    QFile file(QStringLiteral(":/qt-project.org/imports/Vaelix/login.css"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The login's style sheet is not among the resources");
    return styleScript(QString::fromUtf8(file.readAll()));
}

QString LoginNavigation::styleScript(const QString &styleSheet)
{
    QString escaped = styleSheet;
    escaped.replace(u'\\', QLatin1String("\\\\")).replace(u'`', QLatin1String("\\`"));
    return QLatin1String("(function() {\n"
                         "    var old = document.getElementById('__vaelix_native_css__');\n"
                         "    if (old) old.remove();\n"
                         "    var s = document.createElement('style');\n"
                         "    s.id = '__vaelix_native_css__';\n"
                         "    s.textContent = `")
        + escaped
        + QLatin1String("`;\n"
                        "    document.head.appendChild(s);\n"
                        "})();");
}
