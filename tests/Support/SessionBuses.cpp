#include "SessionBuses.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QTest>

static const QString secretsName = QStringLiteral("org.freedesktop.secrets");

static const QString busConfiguration = QStringLiteral(R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1</listen>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");

static void end(QProcess &process)
{
    process.kill();
    process.waitForFinished();
}

PrivateBus::PrivateBus()
{
    const QString socket = m_folder.filePath(QStringLiteral("bus"));
    QFile configuration(m_folder.filePath(QStringLiteral("session.conf")));
    if (!configuration.open(QIODevice::WriteOnly) || configuration.write(busConfiguration.arg(socket).toUtf8()) < 0)
        qFatal("%s", qPrintable(configuration.errorString()));
    configuration.close();
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + configuration.fileName(), QStringLiteral("--nofork"),
                    QStringLiteral("--print-address=1")});
    while (!m_daemon.canReadLine())
        if (!m_daemon.waitForReadyRead())
            qFatal("dbus-daemon does not start");
    m_address = QString::fromLatin1(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus()
{
    end(m_daemon);
}

SilentBus::SilentBus()
{
    if (!m_server.listen(m_folder.filePath(QStringLiteral("bus"))))
        qFatal("%s", qPrintable(m_server.errorString()));
}

SilentSecretService::SilentSecretService(const QString &busAddress)
    : m_bus(QDBusConnection::connectToBus(busAddress, busAddress))
{
    m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    if (!m_bus.registerService(secretsName))
        qFatal("the name is taken");
}

SilentSecretService::~SilentSecretService()
{
    QDBusConnection::disconnectFromBus(m_bus.name());
}

Keyring::Keyring(const QString &busAddress, Start start)
    : m_busAddress(busAddress)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(busVariable, busAddress);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.path());
    m_daemon.setProcessEnvironment(environment);
    m_daemon.setStandardErrorFile(QProcess::nullDevice());
    m_daemon.setStandardOutputFile(QProcess::nullDevice());
    QStringList arguments{QStringLiteral("--foreground"), QStringLiteral("--components=secrets"),
                          QStringLiteral("--control-directory=") + m_folder.filePath(QStringLiteral("control"))};
    if (start == Start::Unlocked)
        arguments.prepend(QStringLiteral("--unlock"));
    m_daemon.start(QStringLiteral("gnome-keyring-daemon"), arguments);
    m_daemon.write("password");
    m_daemon.closeWriteChannel();

    auto bus = QDBusConnection::connectToBus(busAddress, busAddress);
    const bool isThere = QTest::qWaitFor([&] { return bus.interface()->isServiceRegistered(secretsName); }, 30'000);
    if (!isThere)
        qFatal("gnome-keyring-daemon does not start");
}

Keyring::~Keyring()
{
    QDBusConnection::disconnectFromBus(m_busAddress);
    end(m_daemon);
}

void Keyring::lock() const
{
    auto call =
        QDBusMessage::createMethodCall(secretsName, QStringLiteral("/org/freedesktop/secrets"),
                                       QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("Lock"));
    call << QVariant::fromValue(
        QList<QDBusObjectPath>{QDBusObjectPath(QStringLiteral("/org/freedesktop/secrets/collection/login"))});
    const QDBusMessage reply = QDBusConnection(m_busAddress).call(call);
    if (reply.type() != QDBusMessage::ReplyMessage)
        qFatal("%s", qPrintable(reply.errorMessage()));
}
