#pragma once

#include <QObject>
#include <QtQml/qqml.h>

/// Attached to a button: Return, Enter and Space press it, once however long they are held. A held key that was
/// pressed elsewhere, before the focus came to the button, does not press it at all.
class ButtonKeys : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("It is attached to a button.")
    QML_ATTACHED(ButtonKeys)

public:
    explicit ButtonKeys(QObject *button);

    static ButtonKeys *qmlAttachedProperties(QObject *button);

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void pressed();
};
