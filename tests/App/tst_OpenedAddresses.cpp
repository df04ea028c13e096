// The real program, opened with addresses.

#include "Platform/UserDefaults.h"
#include "Services/KeychainService.h"
#include "Support/Table.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

const QString busName = u"com.vaelix.app"_s;
const QString address = u"x-vaelix://callback?token=secret-token&user_id=u1&display_name=%E5%BC%A0%E4%BC%9F"_s;

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

void tst_OpenedAddresses::coldStart()
{
    const User user(true);
    const Program program(user, {address});
    QTRY_COMPARE(user.userId(), u"u1"_s);
    QTRY_COMPARE(KeychainService().get(u"auth_token"_s), u"secret-token"_s);
    QTRY_COMPARE(KeychainService().get(u"display_name"_s), u"张伟"_s);
    QVERIFY(program.isRunning());
    QVERIFY(!program.arguments().contains("secret"));
    QVERIFY(!program.arguments().isEmpty());
}

void tst_OpenedAddresses::secondStart_data()
{
    const auto row = columns<bool, QStringList, QString>("hasBus", "arguments", "userId");

    row("bus, without address", true, {}, {});
    row("bus, with address", true, QStringList{address}, u"u1"_s);
    row("socket, without address", false, {}, {});
    row("socket, with address", false, QStringList{address}, u"u1"_s);
    row("socket, much", false, QStringList{address + u"&more="_s + QString(100'000, u'm')}, u"u1"_s);
}

void tst_OpenedAddresses::secondStart()
{
    QFETCH(bool, hasBus);
    QFETCH(QStringList, arguments);
    const User user(hasBus);
    const Program first(user);
    if (hasBus)
        QTRY_VERIFY(ownsBusName());
    else
        QTRY_VERIFY(user.hasSocket());

    Program second(user, arguments);
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(!second.output().contains("没有响应"));
    QFETCH(QString, userId);
    QTRY_COMPARE(user.userId(), userId);
    QVERIFY(first.isRunning());
}

void tst_OpenedAddresses::callOnTheBus_data()
{
    const auto row = columns<QString, QVariantList, QString>("method", "arguments", "userId");

    const QVariantMap platformData{{u"activation-token"_s, u"a-token"_s}};
    const auto open = [&](const QStringList &addresses) { return QVariantList{addresses, platformData}; };
    row("one address", u"Open"_s, open({address}), u"u1"_s);
    row("several, some useless", u"Open"_s, open({u""_s, u"x-vaelix://callback"_s, u"nonsense"_s, address}), u"u1"_s);
    row("none", u"Open"_s, open({}), {});
    row("activation", u"Activate"_s, QVariantList{platformData}, {});
    row("unknown action", u"ActivateAction"_s, QVariantList{u"dance"_s, QVariantList(), platformData}, {});
}

void tst_OpenedAddresses::callOnTheBus()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    const User user(true);
    const Program program(user);
    QTRY_VERIFY(ownsBusName());

    const auto answer = callApplication(method, arguments);
    QVERIFY2(answer.type() == QDBusMessage::ReplyMessage, qPrintable(answer.errorMessage()));
    QTEST(user.userId(), "userId");
    QVERIFY(program.isRunning());
}

void tst_OpenedAddresses::socketOfAKilledInstance()
{
    const User user(false);
    {
        const Program killed(user);
        QTRY_VERIFY(user.hasSocket());
    }
    QVERIFY(user.hasSocket());
    const Program program(user, {address});
    QTRY_COMPARE(user.userId(), u"u1"_s);
    QVERIFY(program.isRunning());
    Program second(user);
    QCOMPARE(second.exitCode(), 0);
}

QTEST_GUILESS_MAIN(tst_OpenedAddresses)
#include "tst_OpenedAddresses.moc"
