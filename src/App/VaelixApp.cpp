#include "VaelixApp.h"

#include "Platform/ApplicationInstance.h"
#include "Platform/Bundle.h"
#include "Platform/UserDefaults.h"
#include "Platform/WebEngineStorage.h"
#include "Services/AuthService.h"
#include "Services/UpdateCheckService.h"
#include "Utilities/Log.h"
#include "Views/QmlTypes.h"
#include "Views/ScreenUpdateViewModel.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <cstdio>
#include <unistd.h>
#include <vector>

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

/// Goes on as the program of another bundle. Returns only when it cannot be run.
static void continueAs(const Bundle &bundle, const QStringList &addresses)
{
    QByteArrayList arguments{QFile::encodeName(bundle.executable().value_or(QString()))};
    for (const QString &address : addresses)
        arguments.append(address.toLocal8Bit());
    std::vector<char *> pointers;
    for (QByteArray &argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
}

int VaelixApp::run(int argc, char *argv[], const QStringList &addresses)
{
    chooseRenderer();
    const QGuiApplication application(argc, argv);
    QGuiApplication::setDesktopFileName(QStringLiteral("com.vaelix.app"));

    // An update that was broken off may have left another bundle than this to be run.
    const UpdateRecovery recovery = UpdateCheckService::recovery(Folders::user());
    const auto recovered = recovery.recover(Bundle::main().path());
    if (recovered.bundle)
        continueAs(Bundle::at(*recovered.bundle), addresses);

    ApplicationInstance instance;
    switch (instance.claim(addresses)) {
    case ApplicationInstance::Claim::Granted:
        break;
    case ApplicationInstance::Claim::HandedOver:
        return 0;
    case ApplicationInstance::Claim::Unanswered:
        std::fputs("Vaelix 已在运行，但没有响应；请结束它之后重新打开\n", stderr);
        return 1;
    }
    WebEngineStorage::remove();

    AuthService &auth = AuthService::shared();
    QObject::connect(&instance, &ApplicationInstance::opened, &auth, &AuthService::handleOpenedAddress);

    UserDefaults &defaults = UserDefaults::shared();
    QObject::connect(&defaults, &UserDefaults::problemChanged, [&defaults] {
        if (!defaults.problem().isEmpty())
            Log::line(defaults.problem());
    });

    ScreenUpdateViewModel updates;
    QQmlApplicationEngine engine;
    installViews(engine);
    engine.setInitialProperties({
        {QStringLiteral("appVersion"), Bundle::main().shortVersion().value_or(QStringLiteral("1.0"))},
        {QStringLiteral("authService"), QVariant::fromValue(&auth)},
        {QStringLiteral("updateViewModel"), QVariant::fromValue(&updates)},
        {QStringLiteral("userDefaults"), QVariant::fromValue(&defaults)},
    });
    engine.load(mainWindowUrl);
    if (engine.rootObjects().isEmpty())
        return 1;

    auto *const window = qobject_cast<QQuickWindow *>(engine.rootObjects().first());
    QObject::connect(&instance, &ApplicationInstance::activated, window,
                     [window] { QMetaObject::invokeMethod(window, "comeToFront"); });
    // Once the window is there, which the check would only delay.
    QObject::connect(
        window, &QQuickWindow::frameSwapped, &updates,
        [&updates, notice = recovered.notice] {
            if (!notice.isEmpty())
                Q_EMIT updates.updateFailed(notice);
            updates.checkAtStart();
        },
        Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    const int status = QGuiApplication::exec();
    defaults.flush();
    return status;
}
