#include "Screens.h"

#include "Support/Bundles.h"
#include "Views/QmlTypes.h"

#include <QInputMethodEvent>
#include <QUrlQuery>
#include <algorithm>
#include <qrencode.h>

using namespace Qt::StringLiterals;

QStringList Screens::warnings;

static QtMessageHandler previousHandler = nullptr;

QString accessibleName(QQuickItem *item)
{
    return QAccessible::queryAccessibleInterface(item)->text(QAccessible::Name);
}

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

Screens::Screens(Start start, const QString &serverOrigin, const QString &bundle)
    : scratch(serverOrigin)
    , auth({serverOrigin, serverOrigin}, scratch.keychain, scratch.defaults, scratch.folders,
           [this](const QStringList &names) { endedProcesses.append(names); })
    , tokenProxyViewModel(serverOrigin, scratch.keychain)
    , runningBundle(Bundle::at(scratch.path(bundle)))
    , updateCheck(serverOrigin + u"/api/v1"_s, runningBundle,
                  {.folders = scratch.folders, .diskImageTool = scratch.path(u"hdiutil"_s), .quit = [] {}})
{
    if (!previousHandler)
        previousHandler = qInstallMessageHandler(recordMessage);
    makeBundle(runningBundle.path(), 42);
    QAccessible::setActive(true);
    installViews(engine);
    if (start == Start::SignedIn)
        signIn(u"测试用户"_s);
    // Where web pages keep their cookies and caches, also for a while after they were closed.
    static const QTemporaryDir webFolder;
    for (const char *variable : {"XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, QFile::encodeName(webFolder.path()));
    engine.setInitialProperties({{u"appVersion"_s, u"1.0.0"_s},
                                 {u"authService"_s, QVariant::fromValue(&auth)},
                                 {u"updateViewModel"_s, QVariant::fromValue(&updateViewModel)},
                                 {u"userDefaults"_s, QVariant::fromValue(&scratch.defaults)},
                                 {u"viewModels"_s, viewModels()}});
    engine.load(mainWindowUrl);
    window = qobject_cast<QQuickWindow *>(engine.rootObjects().value(0));
    Q_ASSERT(window);
    window->requestActivate();
    if (!QTest::qWaitForWindowActive(window))
        qFatal("the window does not become active");
}

QVariantMap Screens::viewModels()
{
    return {{u"dashboard"_s, QVariant::fromValue<QObject *>(&dashboardViewModel)},
            {u"changePassword"_s, QVariant::fromValue<QObject *>(&changePasswordViewModel)},
            {u"software"_s, QVariant::fromValue<QObject *>(&viewModel)},
            {u"token"_s, QVariant::fromValue<QObject *>(&tokenViewModel)},
            {u"tokenProxy"_s, QVariant::fromValue<QObject *>(&tokenProxyViewModel)}};
}

void Screens::signIn(const QString &displayName, const QString &token)
{
    QUrl url(u"x-vaelix://auth/callback"_s);
    url.setQuery(QUrlQuery{{u"token"_s, token}, {u"user_id"_s, u"1"_s}, {u"display_name"_s, displayName}});
    auth.handleCallback(url);
}

void Screens::openSoftware(const SoftwareCatalog::Entries &entries)
{
    scratch.setCatalog(entries);
    click(button(u"AI 软件"_s));
    QTRY_VERIFY_WITH_TIMEOUT(!viewModel.isLoading() && viewModel.softwareList().size() == entries.size(), 60000);
    settle();
}

void Screens::select(const QString &name)
{
    for (QQuickItem *const row : elements(QAccessible::ListItem)) {
        const QString title = accessibleName(row);
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
    return findByName(window->contentItem(), u"webPage"_s);
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
        if (accessibleName(item) == name)
            return item;
    return nullptr;
}

QString Screens::detailButtons() const
{
    const QStringList elsewhere{u"仪表盘"_s, u"AI 软件"_s,  u"Token 管理"_s, u"检查更新"_s,
                                u"刷新"_s,   u"复制输出"_s, u"端口与模型"_s, u"平台接入"_s};
    QStringList names;
    for (QQuickItem *const item : elements(QAccessible::Button))
        if (const QString name = accessibleName(item); !elsewhere.contains(name))
            names.append((item->isEnabled() ? u""_s : u"-"_s) + name);
    return names.join(u' ');
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
