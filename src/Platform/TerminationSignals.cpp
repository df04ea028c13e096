#include "TerminationSignals.h"

#include "FileDescriptor.h"

#include <csignal>
#include <sys/eventfd.h>

namespace {

/// What the handler, which may run on any thread, wakes the event loop with.
const FileDescriptor &wakeUp()
{
    static const FileDescriptor descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    return descriptor;
}

volatile std::sig_atomic_t lastSignal = 0;

void handle(int signal)
{
    lastSignal = signal;
    ::eventfd_write(wakeUp().get(), 1);
}

void setHandler(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
    , m_notifier(wakeUp().get(), QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] {
        eventfd_t count;
        ::eventfd_read(wakeUp().get(), &count);
        Q_EMIT received(lastSignal);
    });
    setHandler(handle);
}

TerminationSignals::~TerminationSignals()
{
    setHandler(SIG_DFL);
}
