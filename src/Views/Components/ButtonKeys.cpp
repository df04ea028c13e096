#include "ButtonKeys.h"

#include <QKeyEvent>

static bool isPressingKey(const QEvent &event)
{
    if (event.type() != QEvent::KeyPress && event.type() != QEvent::KeyRelease)
        return false;
    const int key = static_cast<const QKeyEvent &>(event).key();
    return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space;
}

ButtonKeys::ButtonKeys(QObject *button)
    : QObject(button)
{
    button->installEventFilter(this);
}

ButtonKeys *ButtonKeys::qmlAttachedProperties(QObject *button)
{
    return new ButtonKeys(button);
}

bool ButtonKeys::eventFilter(QObject *, QEvent *event)
{
    if (!isPressingKey(*event))
        return false;
    event->accept();
    // A held key repeats its release as well.
    if (event->type() == QEvent::KeyPress && !static_cast<QKeyEvent *>(event)->isAutoRepeat())
        Q_EMIT pressed();
    return true;
}
