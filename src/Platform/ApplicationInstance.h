#pragma once

#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class QLocalServer;
class QLockFile;

/// The user's one running instance of the application, and the addresses that others open in it.
/// It owns the name "com.vaelix.app" on the session bus, where desktops reach it through the
/// interface org.freedesktop.Application (Desktop Entry standard, "D-Bus Activation"); where there
/// is no session bus it listens on a local socket of the user's. Interface thread only.
class ApplicationInstance : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationInstance(QObject *parent = nullptr);
    ~ApplicationInstance() override;

    enum class Claim {
        Granted, ///< this is the one instance
        HandedOver, ///< there is one already, and it opens the addresses
        Unanswered, ///< there is one already, and it does not respond
    };

    /// Becomes the one instance and opens `addresses` from the event loop. When there is one
    /// already, has that one open them and come to the front: this process has nothing more to do then.
    Claim claim(const QStringList &addresses);

    // What others call on the bus; the names are the interface's.

    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);
    Q_SCRIPTABLE void Open(const QStringList &addresses, const QVariantMap &platformData);
    /// There are no actions: an unknown one brings the window to the front.
    Q_SCRIPTABLE void ActivateAction(const QString &action, const QVariantList &parameter,
                                     const QVariantMap &platformData);

Q_SIGNALS:
    /// The window belongs in front. Always comes before opened().
    void activated();
    void opened(const QUrl &url);

private:
    Claim claimOnBus(const QStringList &addresses);
    Claim claimSocket(const QStringList &addresses);
    void receiveFromSocket();

    std::unique_ptr<QLockFile> m_lock; ///< held with the socket: whether another instance lives
    std::unique_ptr<QLocalServer> m_socket;
};
