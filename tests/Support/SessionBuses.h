#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QLocalServer>
#include <QProcess>
#include <QTemporaryDir>

inline const QString busVariable = QStringLiteral("DBUS_SESSION_BUS_ADDRESS");

/// A session bus with nothing on it; it starts no services by itself.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    QString address() const { return m_address; }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
};

/// What takes connections as a session bus does, and never answers.
class SilentBus
{
public:
    SilentBus();
    QString address() const { return QStringLiteral("unix:path=") + m_folder.filePath(QStringLiteral("bus")); }

private:
    QTemporaryDir m_folder;
    QLocalServer m_server;
};

/// Owns the Secret Service's name on a bus and never answers. Served by this process's event loop.
class SilentSecretService : public QDBusVirtualObject
{
public:
    explicit SilentSecretService(const QString &busAddress);
    ~SilentSecretService() override;

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &, const QDBusConnection &) override { return true; }

private:
    QDBusConnection m_bus;
};

/// A real Secret Service with a store of its own.
class Keyring
{
public:
    enum class Start {
        Unlocked,
        WithoutPassword, ///< there is no collection then
    };

    Keyring(const QString &busAddress, Start start);
    ~Keyring();
    void lock() const;

private:
    QTemporaryDir m_folder;
    QString m_busAddress;
    QProcess m_daemon;
};
