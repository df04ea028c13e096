#pragma once

#include "FileDescriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <span>

/// Where the bytes of a pipe go.
class PipeSink
{
public:
    virtual ~PipeSink() = default;

    /// Where the next bytes shall be written; never empty, valid until received() or the next call.
    virtual std::span<char> room() = 0;

    /// The first `count` bytes of room() were written.
    virtual void received(qsizetype count) = 0;
};

/// Reads a pipe from the event loop without falling behind a fast writer and without waking for
/// every line of a slow one: after a few small reads it looks only every 2 ms.
class PipeReader : public QObject
{
    Q_OBJECT

public:
    /// Takes over the non-blocking reading end `pipe`. The sink must live until the end.
    PipeReader(FileDescriptor pipe, PipeSink &sink, QObject *parent = nullptr);

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
    PipeSink &m_sink;
    QSocketNotifier m_notifier;
    QTimer m_pause;
    qsizetype m_bytesRead = 0;
    int m_smallReads = 0;
};
