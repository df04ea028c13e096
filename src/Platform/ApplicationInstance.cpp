#include "ApplicationInstance.h"

#include "Folders.h"
#include "SessionBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>
#include <unistd.h>

namespace {

const QString busName = QStringLiteral("com.vaelix.app");
const QString objectPath = QStringLiteral("/com/vaelix/app");
const QString interfaceName = QStringLiteral("org.freedesktop.Application");

constexpr int timeoutMs = 5000;
constexpr qint64 longestMessage = 16 * 1024 * 1024;

/// The user's runtime folder; where there is none that is safe, a private one among the user's data.
QString privateFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (!folder.isEmpty())
        return folder;
    QString own = Folders::user().applicationSupport + QStringLiteral("/vaelix/run");
    QDir().mkpath(own);
    QFile::setPermissions(own, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return own;
}

QString socketPath()
{
    static const QString path = privateFolder() + QStringLiteral("/com.vaelix.app-%1").arg(::getuid());
    return path;
}

QDBusMessage forwardingCall(const QStringList &addresses)
{
    const bool isOpening = !addresses.isEmpty();
    auto call = QDBusMessage::createMethodCall(busName, objectPath, interfaceName,
                                               isOpening ? QStringLiteral("Open") : QStringLiteral("Activate"));
    if (isOpening)
        call << addresses;
    call << QVariantMap{{QStringLiteral("activation-token"), qEnvironmentVariable("XDG_ACTIVATION_TOKEN")}};
    return call;
}

/// The other instance may only just be starting, so this tries for a while.
bool connectTo(QLocalSocket &socket)
{
    const QDeadlineTimer deadline(timeoutMs);
    do {
        socket.connectToServer(socketPath());
        if (socket.waitForConnected(timeoutMs))
            return true;
        QThread::msleep(20);
    } while (!deadline.hasExpired());
    return false;
}

bool forwardToSocket(const QStringList &addresses)
{
    QLocalSocket socket;
    if (!connectTo(socket))
        return false;
    QDataStream stream(&socket);
    stream << addresses;
    // The system takes what is sent to a process that hangs; only an answer tells that it was read.
    return socket.waitForReadyRead(timeoutMs);
}

} // namespace

ApplicationInstance::ApplicationInstance(QObject *parent)
    : QObject(parent)
{
}

ApplicationInstance::~ApplicationInstance() = default;

ApplicationInstance::Claim ApplicationInstance::claim(const QStringList &addresses)
{
    const bool onBus = hasSessionBus() && QDBusConnection::sessionBus().isConnected();
    const Claim claim = onBus ? claimOnBus(addresses) : claimSocket(addresses);
    if (claim == Claim::Granted && !addresses.isEmpty())
        QTimer::singleShot(0, this, [this, addresses] { Open(addresses, {}); });
    return claim;
}

ApplicationInstance::Claim ApplicationInstance::claimOnBus(const QStringList &addresses)
{
    auto bus = QDBusConnection::sessionBus();
    // Before the name: whoever sees the name may call at once.
    bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableInvokables);
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = bus.interface()->registerService(busName);
    if (!reply.isValid() || reply == QDBusConnectionInterface::ServiceRegistered)
        return Claim::Granted;
    const QDBusMessage answer = bus.call(forwardingCall(addresses), QDBus::Block, timeoutMs);
    return answer.type() == QDBusMessage::ErrorMessage ? Claim::Unanswered : Claim::HandedOver;
}

ApplicationInstance::Claim ApplicationInstance::claimSocket(const QStringList &addresses)
{
    m_lock = std::make_unique<QLockFile>(socketPath() + QStringLiteral(".lock"));
    m_lock->setStaleLockTime(0); // held as long as its process lives
    if (!m_lock->tryLock(0) && m_lock->error() == QLockFile::LockFailedError)
        return forwardToSocket(addresses) ? Claim::HandedOver : Claim::Unanswered;
    m_socket = std::make_unique<QLocalServer>();
    m_socket->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_socket.get(), &QLocalServer::newConnection, this, &ApplicationInstance::receiveFromSocket);
    QLocalServer::removeServer(socketPath());
    m_socket->listen(socketPath());
    return Claim::Granted;
}

void ApplicationInstance::receiveFromSocket()
{
    QLocalSocket *const socket = m_socket->nextPendingConnection();
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
        if (socket->bytesAvailable() > longestMessage)
            return socket->abort();
        QDataStream stream(socket);
        stream.startTransaction();
        QStringList addresses;
        stream >> addresses;
        if (!stream.commitTransaction())
            return;
        socket->write("ok");
        socket->flush();
        Open(addresses, {});
    });
}

void ApplicationInstance::Activate(const QVariantMap &platformData)
{
    // Without this proof of a user's click Wayland keeps windows in the back; Qt takes it from there.
    const QByteArray token = platformData.value(QStringLiteral("activation-token")).toByteArray();
    if (!token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token);
    Q_EMIT activated();
}

void ApplicationInstance::Open(const QStringList &addresses, const QVariantMap &platformData)
{
    Activate(platformData);
    for (const QString &address : addresses)
        Q_EMIT opened(QUrl(address));
}

void ApplicationInstance::ActivateAction(const QString &, const QVariantList &, const QVariantMap &platformData)
{
    Activate(platformData);
}
