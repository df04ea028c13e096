#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>

class QQuickWindow;

/// Draws the window on every tick, and takes down the seconds from the tick to the picture: what the interface
/// thread had to do first, and the wait for a processor, included.
class Frames : public QObject
{
public:
    Frames(QQuickWindow *window, std::function<void(double)> sink);

private:
    using Clock = std::chrono::steady_clock;

    void await();
    void draw();

    QQuickWindow *const m_window;
    const std::function<void(double)> m_sink;
    Clock::time_point m_due;
    QTimer m_timer;
    int m_drawn = 0;
};
