#pragma once

#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// Where the icon images named by the catalog are.
class IconAddress : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// A complete address stays as it is; any other text is a path on the account server. Empty for
    /// an empty one.
    Q_INVOKABLE static QUrl resolve(const QString &iconURL);
};
