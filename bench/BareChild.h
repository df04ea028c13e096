#pragma once

#include "Platform/ChildProcess.h"

/// A child process handled with nothing but system calls: what ours are measured against.
class BareChild
{
public:
    /// Starts `command` and waits for its exit; it inherits all streams.
    static void run(const ChildProcess::Command &command);

    /// Starts `command` and reads what it prints to the end, by blocking reads of up to
    /// `bufferSize` bytes from a pipe of `pipeCapacity`. Returns the number of bytes.
    static qint64 readToEnd(const ChildProcess::Command &command, int pipeCapacity, qsizetype bufferSize);
};
