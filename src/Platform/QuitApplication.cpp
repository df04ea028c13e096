#include "QuitApplication.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdlib>
#include <thread>

using namespace std::chrono_literals;

void quitApplication()
{
    QTimer::singleShot(500ms, qApp, &QCoreApplication::quit);
    std::thread([] {
        std::this_thread::sleep_for(3s);
        std::_Exit(EXIT_SUCCESS);
    }).detach();
}
