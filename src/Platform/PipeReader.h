#pragma once

#include "FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <span>

/// Reads a pipe from the event loop without falling behind a fast writer and without waking for
/// every line of a slow one: after a few small reads it looks only every 2 ms.
class PipeReader : public QObject
{
    Q_OBJECT

public:
    /// Called with what one read gave, up to 256 KiB; the bytes are valid during the call only.
    using Consumer = std::function<void(std::span<const char>)>;

    /// Takes over the non-blocking reading end `pipe`.
    PipeReader(FileDescriptor pipe, Consumer consumer, QObject *parent = nullptr);

    bool isAtEnd() const { return !m_pipe; }

    /// Reads what the pipe holds now, for the last time, and closes it.
    void drainAndClose();

Q_SIGNALS:
    /// The writers are gone and everything was consumed. Not emitted by drainAndClose().
    void ended();

private:
    enum class Outcome { Empty, More, End };

    void read();
    Outcome readUpTo(qsizetype limit);
    void adaptTo(qsizetype bytesThisTime);
    void close();

    FileDescriptor m_pipe;
    Consumer m_consumer;
    QSocketNotifier m_notifier;
    QTimer m_pause;
    qsizetype m_bytesRead = 0;
    int m_smallReads = 0;
};
