#include "NextTurn.h"

#include <QCoroTimer>

QCoro::Task<> nextTurn()
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(0);
    co_await timer;
}
