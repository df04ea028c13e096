#pragma once

#include <QCoroTask>
#include <chrono>
#include <stop_token>

/// Time that passes, also while the machine is suspended, and is not set. What waits takes one, so
/// that a test can let minutes pass at once. Interface thread only.
class Clock
{
public:
    static Clock &shared();

    virtual ~Clock() = default;

    /// Since a moment that stays the same for as long as the machine runs.
    virtual std::chrono::milliseconds now() const;

    /// Ends after `duration`, or at the event loop's next turn once `stop` is requested. Needs no
    /// clock any more once it has begun.
    virtual QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop);
};
