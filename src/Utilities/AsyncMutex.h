#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <coroutine>
#include <deque>

/// Lets one coroutine at a time through a stretch that suspends, first come first served.
/// Interface thread only; must outlive the coroutines that wait for it.
///
///     const auto turn = co_await m_mutex.lock();
class AsyncMutex
{
public:
    /// Holds the mutex until it goes out of scope.
    class Turn
    {
    public:
        explicit Turn(AsyncMutex &mutex)
            : m_mutex(mutex)
        {
        }
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;
        ~Turn() { m_mutex.passOn(); }

    private:
        AsyncMutex &m_mutex;
    };

    auto lock() { return Awaiter{*this}; }

private:
    struct Awaiter {
        AsyncMutex &mutex;

        bool await_ready() { return !std::exchange(mutex.m_isTaken, true); }
        void await_suspend(std::coroutine_handle<> waiter) { mutex.m_waiters.push_back(waiter); }
        Turn await_resume() { return Turn(mutex); }
    };

    void passOn()
    {
        if (m_waiters.empty()) {
            m_isTaken = false;
            return;
        }
        const auto next = m_waiters.front();
        m_waiters.pop_front();
        // From the event loop, so that a long queue never becomes a deep stack.
        QMetaObject::invokeMethod(qApp, [next] { next.resume(); }, Qt::QueuedConnection);
    }

    bool m_isTaken = false;
    std::deque<std::coroutine_handle<>> m_waiters;
};
