#pragma once

#include <QQmlApplicationEngine>

class QQuickWindow;

/// Shows the window that the QML source declares, with `viewModel` as its property of that name.
QQuickWindow *showWindow(QQmlApplicationEngine &engine, const char *source, QObject &viewModel);
