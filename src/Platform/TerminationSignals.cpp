#include "TerminationSignals.h"

#include <csignal>
#include <sys/signalfd.h>

static FileDescriptor openSignals()
{
    sigset_t signalSet;
    sigemptyset(&signalSet);
    sigaddset(&signalSet, SIGINT);
    sigaddset(&signalSet, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signalSet, nullptr);
    return FileDescriptor(::signalfd(-1, &signalSet, SFD_CLOEXEC | SFD_NONBLOCK));
}

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
    , m_descriptor(openSignals())
    , m_notifier(m_descriptor.get(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo information;
        if (::read(m_descriptor.get(), &information, sizeof(information)) == sizeof(information))
            Q_EMIT received();
    });
}
