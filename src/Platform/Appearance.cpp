#include "Appearance.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>

namespace {

using Settings = QMap<QString, QVariantMap>; ///< by name space

constexpr int answerTimeoutMilliseconds = 100;

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

const QString appearanceSpace = QStringLiteral("org.freedesktop.appearance");
const QString schemeKey = QStringLiteral("color-scheme");
const QString desktopSpace = QStringLiteral("org.gnome.desktop.interface");
const QString animationsKey = QStringLiteral("enable-animations");

/// The values of color-scheme; any other expresses no preference.
enum ColorScheme : uint { NoPreference = 0, PreferDark = 1, PreferLight = 2 };

QDBusMessage readAllCall()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(portal, portalPath, settingsInterface, QStringLiteral("ReadAll"));
    call << QStringList{appearanceSpace, desktopSpace};
    return call;
}

Settings settings(const QDBusMessage &reply)
{
    if (reply.signature() != QLatin1String("a{sa{sv}}"))
        return {};
    return qdbus_cast<Settings>(reply.arguments().constFirst());
}

/// Connecting where there is no session bus would start one.
bool hasSessionBus()
{
    return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS")
        || QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

} // namespace

Appearance &Appearance::shared()
{
    static Appearance appearance;
    return appearance;
}

Appearance::Appearance(QObject *parent)
    : QObject(parent)
{
    takePalette();
    qGuiApp->installEventFilter(this);
    if (hasSessionBus())
        askPortal();
}

void Appearance::askPortal()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(portal, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                SLOT(takeSetting(QString, QString, QDBusVariant)));
    const auto takeAll = [this](const QDBusMessage &reply) {
        const Settings all = settings(reply);
        for (auto space = all.begin(); space != all.end(); ++space)
            for (auto setting = space->begin(); setting != space->end(); ++setting)
                take(space.key(), setting.key(), setting.value());
    };
    const QDBusMessage reply = bus.call(readAllCall(), QDBus::Block, answerTimeoutMilliseconds);
    takeAll(reply);
    if (reply.errorName() != QLatin1String("org.freedesktop.DBus.Error.NoReply"))
        return;
    // A portal that has to be started first takes longer than a window may be kept waiting.
    auto *const watcher = new QDBusPendingCallWatcher(bus.asyncCall(readAllCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [takeAll](QDBusPendingCallWatcher *finished) {
        takeAll(finished->reply());
        finished->deleteLater();
    });
}

void Appearance::takeSetting(const QString &space, const QString &key, const QDBusVariant &value)
{
    take(space, key, value.variant());
}

void Appearance::take(const QString &space, const QString &key, const QVariant &value)
{
    if (space == appearanceSpace && key == schemeKey) {
        const uint scheme = value.toUInt();
        m_portalTellsScheme = scheme == PreferDark || scheme == PreferLight;
        m_portalTellsScheme ? follow(scheme == PreferDark) : takePalette();
    } else if (space == desktopSpace && key == animationsKey && m_prefersReducedMotion == value.toBool()) {
        m_prefersReducedMotion = !value.toBool();
        Q_EMIT prefersReducedMotionChanged();
    }
}

void Appearance::takePalette()
{
    const QPalette palette = QGuiApplication::palette();
    if (!m_portalTellsScheme)
        follow(palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness());
}

bool Appearance::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ApplicationPaletteChange)
        takePalette();
    return QObject::eventFilter(watched, event);
}

void Appearance::follow(bool isDark)
{
    if (m_isChosen || m_isDark == isDark)
        return;
    m_isDark = isDark;
    Q_EMIT isDarkChanged();
}

void Appearance::setDark(bool isDark)
{
    m_isChosen = false;
    follow(isDark);
    m_isChosen = true;
}
