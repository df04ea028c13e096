#include "VaelixApp.h"

#include "Platform/Bundle.h"
#include "Platform/Folders.h"
#include "Services/AuthService.h"
#include "Views/QmlTypes.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

/// Without a graphics device the scene graph would draw through a software OpenGL, several times
/// slower than its own software renderer.
static void chooseRenderer()
{
    const bool isChosen = qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    const QDir devices(QStringLiteral("/dev/dri"), QStringLiteral("renderD*"), QDir::Name, QDir::System);
    if (!isChosen && devices.isEmpty())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

int VaelixApp::run(int argc, char *argv[])
{
    chooseRenderer();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("com.vaelix.app"));

    QQmlApplicationEngine engine;
    installViews(engine);
    engine.setInitialProperties(
        {{QStringLiteral("appVersion"), Bundle::main().shortVersion().value_or(QStringLiteral("1.0"))},
         {QStringLiteral("authService"), QVariant::fromValue(&AuthService::shared())},
         {QStringLiteral("webFolder"), QString(Folders::user().applicationSupport + QStringLiteral("/Vaelix/Web"))}});
    engine.load(mainWindowUrl);
    return engine.rootObjects().isEmpty() ? 1 : QGuiApplication::exec();
}
