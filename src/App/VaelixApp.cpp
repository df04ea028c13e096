#include "VaelixApp.h"

#include "Platform/ApplicationInstance.h"
#include "Platform/Bundle.h"
#include "Services/AuthService.h"
#include "Views/QmlTypes.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

/// Without a graphics device the scene graph would draw through a software OpenGL, several times
/// slower than its own software renderer.
static bool drawsInSoftware()
{
    const QString backend = qEnvironmentVariable("QT_QUICK_BACKEND");
    const bool isChosen = !backend.isEmpty() || qEnvironmentVariableIsSet("QSG_RHI_BACKEND");
    const QDir devices(QStringLiteral("/dev/dri"), QStringLiteral("renderD*"), QDir::Name, QDir::System);
    return backend == QLatin1String("software") || (!isChosen && devices.isEmpty());
}

static void chooseRenderer()
{
    if (drawsInSoftware())
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // What a web page draws reaches a window through a context that both share. Without a graphics
    // device it costs more memory than all the rest, so there it is made when a page is opened.
    else
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
}

int VaelixApp::run(int argc, char *argv[], const QStringList &addresses)
{
    chooseRenderer();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("com.vaelix.app"));

    ApplicationInstance instance;
    if (!instance.claim(addresses))
        return 0;

    AuthService &auth = AuthService::shared();
    QObject::connect(&instance, &ApplicationInstance::opened, &auth, &AuthService::handleCallback);

    QQmlApplicationEngine engine;
    installViews(engine);
    engine.setInitialProperties({
        {QStringLiteral("appVersion"), Bundle::main().shortVersion().value_or(QStringLiteral("1.0"))},
        {QStringLiteral("authService"), QVariant::fromValue(&auth)},
    });
    engine.load(mainWindowUrl);
    if (engine.rootObjects().isEmpty())
        return 1;

    QObject *const window = engine.rootObjects().first();
    QObject::connect(&instance, &ApplicationInstance::activated, window,
                     [window] { QMetaObject::invokeMethod(window, "comeToFront"); });
    return QGuiApplication::exec();
}
