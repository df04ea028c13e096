#include "Clock.h"

#include <QCoroTimer>
#include <QTimer>
#include <ctime>

using namespace std::chrono;

Clock &Clock::shared()
{
    static Clock clock;
    return clock;
}

milliseconds Clock::now() const
{
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return duration_cast<milliseconds>(seconds(time.tv_sec) + nanoseconds(time.tv_nsec));
}

QCoro::Task<> Clock::sleep(milliseconds duration, std::stop_token stop)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(stop.stop_requested() ? 0ms : duration);
    const std::stop_callback wake(stop, [&timer] { timer.start(0ms); });
    co_await timer;
}
