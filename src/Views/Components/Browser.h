#pragma once

#include <QCoroTask>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// The user's browser.
class Browser : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The last address could not be opened.
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY hasFailedChanged)

public:
    using QObject::QObject;

    bool hasFailed() const { return m_hasFailed; }

    Q_INVOKABLE void open(const QUrl &url);

Q_SIGNALS:
    void hasFailedChanged();

private:
    QCoro::Task<> tryToOpen(QUrl url);
    void setHasFailed(bool hasFailed);

    bool m_hasFailed = false;
};
