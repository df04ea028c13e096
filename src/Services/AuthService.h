#pragma once

#include "Platform/HTTPSession.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>
#include <functional>

class KeychainService;
class UserDefaults;
struct Folders;

/// Whether somebody is signed in, and the web login: where it begins, and what its callback brings.
/// Every failure is silent: a callback that says nothing changes nothing, and a server that cannot
/// be asked leaves the user signed in. Interface thread only.
class AuthService : public QObject
{
    Q_OBJECT
    /// A token and a user id are stored.
    Q_PROPERTY(bool isLoggedIn READ isLoggedIn NOTIFY changed)
    /// Empty when the login brought none.
    Q_PROPERTY(QString displayName READ displayName NOTIFY changed)
    Q_PROPERTY(QString userId READ userId NOTIFY changed)

public:
    /// Asks this user's processes of exactly these names to end, without waiting for them.
    using ProcessEnder = std::function<void(const QStringList &names)>;

    /// Origins without a trailing slash.
    struct Servers {
        QString loginOrigin;
        QString accountOrigin;
    };

    static AuthService &shared();

    /// Takes the stored credentials up, and has the server verify them meanwhile. The references
    /// must outlive the service.
    AuthService(Servers servers, KeychainService &keychain, UserDefaults &defaults, const Folders &folders,
                ProcessEnder endProcesses, QObject *parent = nullptr);

    bool isLoggedIn() const { return m_isLoggedIn; }
    QString displayName() const { return m_displayName; }
    QString userId() const { return m_userId; }

    /// The page a login begins on, with a new random state that is remembered in the user defaults.
    Q_INVOKABLE QUrl makeLoginURL();

    /// Signs in with what the query of a login's last address brings: "token", "user_id" and
    /// optionally "api_key" and "display_name". When another account was signed in here before, its
    /// agents are stopped and have to be configured anew; their configuration is moved to a dated copy.
    Q_INVOKABLE void handleCallback(const QUrl &url);

    /// Signs out at once and tells the server in the background.
    Q_INVOKABLE void logout();

Q_SIGNALS:
    void changed();
    /// A login ended, possibly in a browser: the window belongs in front.
    void activationRequested();

private:
    void restore();
    void publish(bool isLoggedIn, const QString &userId, const QString &displayName);
    void stopAndClearSoftwareConfigs();
    QCoro::Task<> verifyToken(QString token);
    QCoro::Task<> tellServerOfLogout(QString token);

    const Servers m_servers;
    KeychainService &m_keychain;
    UserDefaults &m_defaults;
    const Folders &m_folders;
    const ProcessEnder m_endProcesses;
    bool m_isLoggedIn = false;
    QString m_displayName;
    QString m_userId;
    HTTPSession m_session;
};
