#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// What the addresses that a login page goes to mean, and the script that dresses each page.
class LoginNavigation : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// The address that ends a login and carries its result.
    Q_INVOKABLE static bool isCallback(const QUrl &url);

    /// The page of the account or login server, or of a host under theirs, that comes just before.
    Q_INVOKABLE static bool isCallbackPage(const QUrl &url);

    /// Puts the application's style sheet into a page, in place of the one that is there already.
    Q_INVOKABLE static QString styleScript();
    static QString styleScript(const QString &styleSheet);
};
