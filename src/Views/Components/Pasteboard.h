#pragma once

#include "ViewModels/TerminalOutput.h"

#include <QtQml/qqmlregistration.h>

/// The desktop's pasteboard.
class Pasteboard : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    using QObject::QObject;

    Q_INVOKABLE void copyText(const QString &text) const;
    /// Copies everything an operation has written, not only what is shown of it.
    Q_INVOKABLE void copyOutput(const TerminalOutput *output) const;
};
