#include "ProcessSession.h"

#include "FileDescriptor.h"
#include "PidFD.h"

#include <QCoroTimer>
#include <QDeadlineTimer>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <string>

using namespace std::chrono_literals;

namespace {

using Members = std::map<pid_t, FileDescriptor>;

/// The session a process belongs to, read from its stat file; 0 when it is gone or a zombie.
pid_t sessionOf(const std::filesystem::path &processFolder)
{
    std::ifstream file(processFolder / "stat");
    std::string stat;
    std::getline(file, stat);
    const auto afterName = stat.rfind(") ");
    if (afterName == std::string::npos)
        return 0;
    char state = 0;
    int parent = 0;
    int group = 0;
    int session = 0;
    if (std::sscanf(stat.c_str() + afterName + 2, "%c %d %d %d", &state, &parent, &group, &session) != 4)
        return 0;
    return state == 'Z' ? 0 : session;
}

/// Signals the members not signalled yet; true when it found any.
bool signalNewMembers(pid_t session, int signal, Members &signalled)
{
    bool found = false;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/proc", error)) {
        const pid_t pid = std::atoi(entry.path().filename().c_str());
        if (pid <= 0 || signalled.contains(pid) || sessionOf(entry.path()) != session)
            continue;
        FileDescriptor handle(pidfd_open(pid, 0));
        // The identifier may have changed hands between the two looks; the handle cannot.
        if (!handle || sessionOf(entry.path()) != session)
            continue;
        pidfd_send_signal(handle.get(), signal, nullptr, 0);
        pidfd_send_signal(handle.get(), SIGCONT, nullptr, 0);
        signalled.emplace(pid, std::move(handle));
        found = true;
    }
    return found;
}

Members signalSession(pid_t session, int signal)
{
    Members members;
    // A process forking while we look can slip past one look, not past a look that found none.
    while (signalNewMembers(session, signal, members)) { }
    return members;
}

bool anyAlive(const Members &members)
{
    // Signals still reach a process that has ended and waits for its parent to notice; the handle knows better.
    return std::ranges::any_of(members, [](const auto &member) {
        pollfd end{member.second.get(), POLLIN, 0};
        return ::poll(&end, 1, 0) < 1;
    });
}

} // namespace

QCoro::Task<> ProcessSession::terminate(pid_t session, std::chrono::milliseconds grace)
{
    const Members members = signalSession(session, SIGTERM);
    const QDeadlineTimer deadline(grace);
    while (anyAlive(members) && !deadline.hasExpired())
        co_await QCoro::sleepFor(20ms);
    // While one of them lives the kernel keeps the session's number from being reused.
    if (anyAlive(members))
        signalSession(session, SIGKILL);
}

void ProcessSession::kill(pid_t session)
{
    signalSession(session, SIGKILL);
}
