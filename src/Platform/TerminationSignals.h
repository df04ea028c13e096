#pragma once

#include <QObject>
#include <QSocketNotifier>

/// While it lives, turns the interrupt and terminate requests to this process (Ctrl-C, SIGTERM)
/// into a Qt signal instead of the process's end. One at a time.
class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received(int signal);

private:
    QSocketNotifier m_notifier;
};
