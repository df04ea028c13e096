#include "Caller.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

Caller::Caller()
{
    ::signal(SIGPIPE, SIG_IGN); // a write that fails is answered, not died of
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGHUP, SIGINT, SIGTERM})
        sigaddset(&ending, number);
    ::sigprocmask(SIG_BLOCK, &ending, nullptr);
    m_signals = ::signalfd(-1, &ending, SFD_CLOEXEC);
}

Caller::~Caller()
{
    ::close(m_signals);
}

bool Caller::waitsFor(int file) const
{
    // Of a pipe that has lost its reader, poll() tells unasked.
    std::array<pollfd, 3> watched{{{file, POLLIN, 0}, {STDOUT_FILENO, 0, 0}, {m_signals, POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) { }
    return watched[1].revents == 0 && watched[2].revents == 0;
}
