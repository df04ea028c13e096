// The real program on a virtual display: what it does when it starts, is started again, and is opened with
// addresses. What is on its screen is told by a pixel near the corner, which no window manager covers.

#include "DevServer.h"
#include "Platform/UserDefaults.h"
#include "Services/KeychainService.h"
#include "Support/Table.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QTemporaryDir>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int timeoutMs = 30'000;
const QString busName = u"com.vaelix.app"_s;
const QString address = u"x-vaelix://callback?token=secret-token&user_id=u1&display_name=%E5%BC%A0%E4%BC%9F"_s;

/// Fills the screen over what is there.
class Cover : public QRasterWindow
{
public:
    static constexpr QRgb color = 0xffff0000;

    Cover()
    {
        setGeometry(screen()->geometry());
        show();
        raise();
    }

private:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(QRect({}, size()), QColor(color)); }
};

QRgb corner()
{
    return QGuiApplication::primaryScreen()->grabWindow(0, 5, 5, 1, 1).toImage().pixel(0, 0);
}

// What the window is seen to be by its corner.
bool isPlain()
{
    return corner() == 0xfff5f5f7;
}
/// A question or a sheet is over it.
bool isDimmed()
{
    return std::abs(qRed(corner()) - 0xab) <= 2;
}

/// Folders and environment of a user who has used nothing yet.
class User
{
public:
    explicit User(bool hasBus)
        : environment(QProcessEnvironment::systemEnvironment())
    {
        for (const auto *variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
            environment.insert(QString::fromLatin1(variable), m_root.path());
        // Nothing listens there.
        environment.insert(u"VAELIX_SERVER_ORIGIN"_s, u"http://127.0.0.1:9"_s);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        if (!hasBus)
            environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
    }

    /// The account that signed in, told by the preferences file.
    QString userId() const
    {
        const UserDefaults defaults(m_root.filePath(u"com.vaelix.app.json"_s));
        return defaults.text(u"lastUserId"_s).value_or(QString());
    }

    bool hasSocket() const { return !QDir(m_root.path()).entryList({u"com.vaelix.app-*"_s}, QDir::System).isEmpty(); }

    QProcessEnvironment environment;

private:
    QTemporaryDir m_root;
};

/// One start of the program; ended with the object.
class Program
{
public:
    explicit Program(const User &user, const QStringList &arguments = {})
    {
        m_process.setProcessEnvironment(user.environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(VAELIX_EXECUTABLE), arguments);
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    /// -1 when it did not end by itself.
    int exitCode()
    {
        const bool hasEnded = m_process.waitForFinished(20'000);
        return hasEnded && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QByteArray output() { return m_process.readAll(); }
    QByteArray arguments() const
    {
        QFile file(u"/proc/%1/cmdline"_s.arg(m_process.processId()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private:
    QProcess m_process;
};

bool ownsBusName()
{
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(busName);
}

QDBusMessage callApplication(const QString &method, const QVariantList &arguments)
{
    auto call = QDBusMessage::createMethodCall(busName, u"/com/vaelix/app"_s, u"org.freedesktop.Application"_s, method);
    call.setArguments(arguments);
    return QDBusConnection::sessionBus().call(call);
}

} // namespace

class tst_OpenedAddresses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void aStartAsksForUpdatesAndOffersThem();
    void coldStart();
    void secondStart_data();
    void secondStart();
    void callOnTheBus_data();
    void callOnTheBus();
    void socketOfAKilledInstance();
};

void tst_OpenedAddresses::cleanup()
{
    KeychainService keychain;
    for (const char *key : {"auth_token", "user_id", "display_name"})
        keychain.remove(QString::fromLatin1(key));
    QTRY_VERIFY(!ownsBusName());
}

void tst_OpenedAddresses::aStartAsksForUpdatesAndOffersThem()
{
    devserver::DevServer server({.update = devserver::UpdateOffer{.version = u"99.0.0"_s, .build = 999}});
    User user(true);
    user.environment.insert(u"VAELIX_SERVER_ORIGIN"_s, *server.start(0));
    const Program program(user);
    QTRY_VERIFY_WITH_TIMEOUT(isDimmed(), timeoutMs);
    QCOMPARE(std::ranges::count(server.requests(), u"/api/v1/update/check"_s, &devserver::Request::path), 1);
}

void tst_OpenedAddresses::coldStart()
{
    const User user(true);
    const Program program(user, {address});
    QTRY_VERIFY_WITH_TIMEOUT(isDimmed(), timeoutMs);
    QVERIFY(!KeychainService().get(u"auth_token"_s));
    QCOMPARE(user.userId(), QString());
    QVERIFY(program.isRunning());
    QVERIFY(!program.arguments().contains("secret"));
    QVERIFY(!program.arguments().isEmpty());
}

void tst_OpenedAddresses::secondStart_data()
{
    const auto row = columns<bool, QStringList>("hasBus", "arguments");

    row("bus, without address", true, {});
    row("bus, with address", true, QStringList{address});
    row("socket, without address", false, {});
    row("socket, with address", false, QStringList{address});
    row("socket, much", false, QStringList{address + u"&more="_s + QString(100'000, u'm')});
}

void tst_OpenedAddresses::secondStart()
{
    QFETCH(bool, hasBus);
    QFETCH(QStringList, arguments);
    const User user(hasBus);
    const Program first(user);
    QTRY_VERIFY_WITH_TIMEOUT(isPlain(), timeoutMs);
    const Cover cover;
    QTRY_COMPARE_WITH_TIMEOUT(corner(), Cover::color, timeoutMs);

    Program second(user, arguments);
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(!second.output().contains("没有响应"));
    QTRY_VERIFY_WITH_TIMEOUT(arguments.isEmpty() ? isPlain() : isDimmed(), timeoutMs);
    QCOMPARE(user.userId(), QString());
    QVERIFY(first.isRunning());
}

void tst_OpenedAddresses::callOnTheBus_data()
{
    const auto row = columns<QString, QVariantList, bool>("method", "arguments", "asks");

    const QVariantMap platformData{{u"activation-token"_s, u"a-token"_s}};
    const auto open = [&](const QStringList &addresses) { return QVariantList{addresses, platformData}; };
    row("one address", u"Open"_s, open({address}), true);
    row("several, some useless", u"Open"_s, open({u""_s, u"x-vaelix://callback"_s, u"nonsense"_s, address}), true);
    row("impossible", u"Open"_s, open({address + u"&api_key=%27"_s}), true);
    row("none", u"Open"_s, open({}), false);
    row("activation", u"Activate"_s, QVariantList{platformData}, false);
    row("unknown action", u"ActivateAction"_s, QVariantList{u"dance"_s, QVariantList(), platformData}, false);
}

void tst_OpenedAddresses::callOnTheBus()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(bool, asks);
    const User user(true);
    const Program program(user);
    QTRY_VERIFY_WITH_TIMEOUT(isPlain(), timeoutMs);
    const Cover cover;
    QTRY_COMPARE_WITH_TIMEOUT(corner(), Cover::color, timeoutMs);

    const auto answer = callApplication(method, arguments);
    QVERIFY2(answer.type() == QDBusMessage::ReplyMessage, qPrintable(answer.errorMessage()));
    QTRY_VERIFY_WITH_TIMEOUT(asks ? isDimmed() : isPlain(), timeoutMs);
    QCOMPARE(user.userId(), QString());
    QVERIFY(program.isRunning());
}

void tst_OpenedAddresses::socketOfAKilledInstance()
{
    const User user(false);
    {
        const Program killed(user);
        QTRY_VERIFY_WITH_TIMEOUT(user.hasSocket(), timeoutMs);
    }
    QVERIFY(user.hasSocket());
    const Program program(user, {address});
    QTRY_VERIFY_WITH_TIMEOUT(isDimmed(), timeoutMs);
    Program second(user);
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(program.isRunning());
}

/// Starts a display that ends with its last client; gives the stream that closes with it.
static std::FILE *startDisplay()
{
    std::FILE *const server =
        ::popen("exec Xvfb -displayfd 1 -screen 0 1080x720x24 -nolisten tcp -terminate 2>/dev/null", "r");
    int number = -1;
    if (!server || std::fscanf(server, "%d", &number) != 1)
        qFatal("the virtual display does not start");
    qputenv("DISPLAY", ':' + QByteArray::number(number));
    qputenv("QT_QPA_PLATFORM", "xcb");
    return server;
}

int main(int argc, char *argv[])
{
    std::FILE *const display = startDisplay();
    const int failures = [&] {
        const QGuiApplication application(argc, argv);
        tst_OpenedAddresses test;
        return QTest::qExec(&test, argc, argv);
    }();
    ::pclose(display);
    return failures;
}
#include "tst_OpenedAddresses.moc"
