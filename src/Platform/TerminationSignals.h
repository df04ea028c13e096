#pragma once

#include "FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>

/// Turns the interrupt and terminate requests to this process (Ctrl-C, SIGTERM) into a Qt signal
/// instead of its end. Create before any thread is started.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);

Q_SIGNALS:
    void received();

private:
    FileDescriptor m_descriptor;
    QSocketNotifier m_notifier;
};
