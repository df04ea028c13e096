#include "Frames.h"

#include <QCoreApplication>
#include <QQuickWindow>

using namespace std::chrono_literals;

static constexpr auto tick = 16ms;

Frames::Frames(QQuickWindow *window, std::function<void(double)> sink)
    : m_window(window)
    , m_sink(std::move(sink))
    , m_due(Clock::now())
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Frames::draw);
    connect(window, &QQuickWindow::frameSwapped, this, [this] { ++m_drawn; });
    await();
}

void Frames::await()
{
    m_due = std::max(m_due + tick, Clock::now());
    m_timer.start(std::chrono::ceil<std::chrono::milliseconds>(m_due - Clock::now()));
}

void Frames::draw()
{
    const int before = m_drawn;
    m_window->update();
    QEvent update(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(m_window, &update);
    if (m_drawn == before)
        qFatal("The window was not drawn");
    m_sink(std::chrono::duration<double>(Clock::now() - m_due).count());
    await();
}
