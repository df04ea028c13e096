#include "BenchWindow.h"

#include "Views/QmlTypes.h"

#include <QQuickWindow>

QQuickWindow *showWindow(QQmlApplicationEngine &engine, const char *source, QObject &viewModel)
{
    installViews(engine);
    engine.setInitialProperties({{QStringLiteral("viewModel"), QVariant::fromValue(&viewModel)}});
    engine.loadData(source);
    if (engine.rootObjects().isEmpty())
        qFatal("The window cannot be shown");
    return qobject_cast<QQuickWindow *>(engine.rootObjects().first());
}
