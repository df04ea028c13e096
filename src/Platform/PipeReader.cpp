#include "PipeReader.h"

#include <cerrno>
#include <sys/ioctl.h>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype bytesPerWake = 4 * 1024 * 1024;
constexpr qsizetype smallRead = 32 * 1024;
constexpr qsizetype largeRead = 512 * 1024;
constexpr int smallReadsBeforePausing = 3;

} // namespace

PipeReader::PipeReader(FileDescriptor pipe, PipeSink &sink, QObject *parent)
    : QObject(parent)
    , m_pipe(std::move(pipe))
    , m_sink(sink)
    , m_notifier(m_pipe.get(), QSocketNotifier::Read)
{
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    m_pause.setInterval(2ms);
    connect(&m_notifier, &QSocketNotifier::activated, this, &PipeReader::read);
    connect(&m_pause, &QTimer::timeout, this, &PipeReader::read);
}

void PipeReader::read()
{
    const qsizetype before = m_bytesRead;
    if (readUpTo(bytesPerWake) == Outcome::End) {
        close();
        Q_EMIT ended();
        return;
    }
    adaptTo(m_bytesRead - before);
}

void PipeReader::adaptTo(qsizetype bytesThisTime)
{
    // A pause ends the rhythm only when it brought nothing, or so much that the writer had to wait.
    if (bytesThisTime == 0 || bytesThisTime >= largeRead)
        m_smallReads = 0;
    else if (bytesThisTime <= smallRead)
        ++m_smallReads;
    const bool pause = m_smallReads >= smallReadsBeforePausing;
    m_notifier.setEnabled(!pause);
    if (pause)
        m_pause.start();
}

PipeReader::Outcome PipeReader::readUpTo(qsizetype limit)
{
    while (limit > 0) {
        const auto room = m_sink.room();
        const ssize_t count = ::read(m_pipe.get(), room.data(), std::min(size_t(limit), room.size()));
        if (count > 0) {
            m_bytesRead += count;
            limit -= count;
            m_sink.received(count);
            // The pipe was empty but for that; asking on would chase the writer line by line.
            if (count <= smallRead)
                return Outcome::Empty;
        } else if (count == 0) {
            return Outcome::End;
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Outcome::Empty : Outcome::End;
        }
    }
    return Outcome::More;
}

void PipeReader::drainAndClose()
{
    if (isAtEnd())
        return;
    int waiting = 0;
    if (::ioctl(m_pipe.get(), FIONREAD, &waiting) == 0 && waiting > 0)
        readUpTo(waiting);
    close();
}

void PipeReader::close()
{
    m_notifier.setEnabled(false);
    m_pause.stop();
    m_pipe = FileDescriptor();
}
