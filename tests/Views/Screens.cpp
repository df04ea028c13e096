#include "Screens.h"

#include "Views/QmlTypes.h"

#include <QInputMethodEvent>
#include <QUrlQuery>
#include <algorithm>
#include <qrencode.h>

QStringList Screens::warnings;

static QtMessageHandler previousHandler = nullptr;

static bool isExpected(const QString &warning)
{
    return warning.startsWith(QLatin1String("[Catalog]")) || warning.contains(QLatin1String("XDG_RUNTIME_DIR"))
        || warning == QLatin1String("This plugin does not support raise()")
        || warning == QLatin1String("No suitable graphics backend found\n")
        || (warning.startsWith(QLatin1String("QWebEngine")) && warning.contains(QLatin1String("as a QML type")));
}

static void recordMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type != QtDebugMsg && type != QtInfoMsg && !isExpected(message))
        Screens::warnings.append(message);
    previousHandler(type, context, message);
}

QCoro::Task<> BriefClock::sleep(std::chrono::milliseconds duration, std::stop_token stop)
{
    co_await Clock::sleep(duration / 100, stop);
    m_now += duration;
}

Screens::Screens(Start start, const QString &serverOrigin)
    : scratch(serverOrigin)
    , auth({serverOrigin, serverOrigin}, scratch.keychain, scratch.defaults, scratch.folders,
           [this](const QString &name) { endedProcesses.append(name); })
    , tokenProxyViewModel(serverOrigin, scratch.keychain)
{
    if (!previousHandler)
        previousHandler = qInstallMessageHandler(recordMessage);
    QAccessible::setActive(true);
    installViews(engine);
    if (start == Start::SignedIn)
        signIn(QStringLiteral("测试用户"));
    // Where web pages keep their cookies and caches, also for a while after they were closed.
    static const QTemporaryDir webFolder;
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, QFile::encodeName(webFolder.path()));
    engine.setInitialProperties({{QStringLiteral("appVersion"), QStringLiteral("1.0.0")},
                                 {QStringLiteral("authService"), QVariant::fromValue(&auth)},
                                 {QStringLiteral("viewModels"), viewModels()}});
    engine.load(mainWindowUrl);
    window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    Q_ASSERT(window);
    window->requestActivate();
    if (!QTest::qWaitForWindowActive(window))
        qFatal("the window does not become active");
}

QVariantMap Screens::viewModels()
{
    return {{QStringLiteral("dashboard"), QVariant::fromValue<QObject *>(&dashboardViewModel)},
            {QStringLiteral("changePassword"), QVariant::fromValue<QObject *>(&changePasswordViewModel)},
            {QStringLiteral("software"), QVariant::fromValue<QObject *>(&viewModel)},
            {QStringLiteral("token"), QVariant::fromValue<QObject *>(&tokenViewModel)},
            {QStringLiteral("tokenProxy"), QVariant::fromValue<QObject *>(&tokenProxyViewModel)}};
}

void Screens::signIn(const QString &displayName, const QString &token)
{
    QUrl url(QStringLiteral("x-vaelix://auth/callback"));
    url.setQuery(QUrlQuery{{QStringLiteral("token"), token},
                           {QStringLiteral("user_id"), QStringLiteral("1")},
                           {QStringLiteral("display_name"), displayName}});
    auth.handleCallback(url);
}

void Screens::openSoftware(const SoftwareCatalog::Entries &entries)
{
    scratch.setCatalog(entries);
    click(button(QStringLiteral("AI 软件")));
    QTRY_VERIFY_WITH_TIMEOUT(!viewModel.isLoading() && viewModel.softwareList().size() == entries.size(), 60000);
    settle();
}

void Screens::select(const QString &name)
{
    for (QQuickItem *const row : elements(QAccessible::ListItem)) {
        const QString title = QAccessible::queryAccessibleInterface(row)->text(QAccessible::Name);
        if (title.startsWith(name + u'，'))
            click(row);
    }
    settle();
    QVERIFY(viewModel.selectedSoftware());
    QCOMPARE(viewModel.selectedSoftware()->name, name);
}

void Screens::setStatus(const QString &id, SoftwareStatus::Value status)
{
    software(id)->setStatus(status);
    settle();
}

static void collect(QQuickItem *item, QList<QQuickItem *> &found, const std::function<bool(QQuickItem *)> &isWanted)
{
    if (!item->isVisible())
        return;
    if (isWanted(item))
        found.append(item);
    for (QQuickItem *const child : item->childItems())
        collect(child, found, isWanted);
}

static QQuickItem *findByName(QQuickItem *item, const QString &objectName)
{
    if (item->objectName() == objectName)
        return item;
    for (QQuickItem *const child : item->childItems())
        if (QQuickItem *const found = findByName(child, objectName))
            return found;
    return nullptr;
}

QQuickItem *Screens::webPage() const
{
    return findByName(window->contentItem(), QStringLiteral("webPage"));
}

static bool hasRole(QQuickItem *item, QAccessible::Role role)
{
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(item);
    return interface && interface->role() == role;
}

QList<QQuickItem *> Screens::elements(QAccessible::Role role) const
{
    QList<QQuickItem *> found;
    collect(window->contentItem(), found, [role](QQuickItem *item) { return hasRole(item, role); });
    std::ranges::stable_sort(found, {}, [](QQuickItem *item) {
        const QPointF position = item->mapToScene({});
        return std::pair(position.y(), position.x());
    });
    return found;
}

QQuickItem *Screens::element(QAccessible::Role role, const QString &name) const
{
    for (QQuickItem *const item : elements(role))
        if (QAccessible::queryAccessibleInterface(item)->text(QAccessible::Name) == name)
            return item;
    return nullptr;
}

QStringList Screens::texts() const
{
    QList<QQuickItem *> found;
    collect(window->contentItem(), found, [](QQuickItem *item) { return item->inherits("QQuickText"); });
    QStringList texts;
    for (QQuickItem *const item : std::as_const(found))
        texts.append(item->property("text").toString());
    return texts;
}

void Screens::click(QQuickItem *item) const
{
    QVERIFY(item);
    QVERIFY(item->isEnabled());
    const QPointF centre = item->mapToScene(item->boundingRect().center());
    QTest::mouseClick(window, Qt::LeftButton, {}, centre.toPoint());
}

void Screens::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(window, key, modifiers);
}

void Screens::type(const QString &text) const
{
    QInputMethodEvent event;
    event.setCommitString(text);
    QCoreApplication::sendEvent(window->focusObject(), &event);
}

void Screens::settle() const
{
    QImage previous;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            const QImage image = window->grabWindow();
            return std::exchange(previous, image) == image;
        }(),
        10000);
}

QByteArray codeAsText(const char *content)
{
    QRcode *const code = QRcode_encodeString(content, 0, QR_ECLEVEL_L, QR_MODE_8, 1);
    const int margin = 2;
    const auto isLight = [&](int x, int y) {
        const bool isInside = x >= 0 && y >= 0 && x < code->width && y < code->width;
        return !isInside || (code->data[y * code->width + x] & 1) == 0;
    };
    QByteArray text;
    for (int y = -margin; y < code->width + margin; y += 2) {
        for (int x = -margin; x < code->width + margin; ++x) {
            const bool upper = isLight(x, y);
            const bool lower = isLight(x, y + 1);
            text += upper ? (lower ? "█" : "▀") : (lower ? "▄" : " ");
        }
        text += '\n';
    }
    QRcode_free(code);
    return text;
}
