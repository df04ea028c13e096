#pragma once

/// Whoever waits for the answer on standard output. It has gone once nobody reads there any more, or when it tells
/// us to end; what was begun for it is given up then. One at a time, as it takes over the process's signals.
class Caller
{
public:
    Caller();
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;
    ~Caller();

    /// Waits for something to read in `file`, or for its end. False when the caller has gone.
    bool waitsFor(int file) const;

private:
    int m_signals;
};
