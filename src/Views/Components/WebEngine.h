#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

/// What Qt WebEngine needs before the first file that imports it is loaded.
class WebEngine : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    /// Gives why web pages cannot be shown on this machine, a sentence; do not load such a file then.
    /// Else gives an empty text and makes the OpenGL context that Qt WebEngine shares with the windows,
    /// unless the application started with one. It costs memory, so an application that draws in
    /// software puts it off until now.
    Q_INVOKABLE static QString prepare();
};
