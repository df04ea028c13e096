#pragma once

#include "Models/LoginCallback.h"
#include "Platform/HTTPSession.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>
#include <functional>

class KeychainService;
class UserDefaults;
struct Folders;

/// Whether somebody is signed in, and the web login: where it begins, and what its callback brings.
/// Failures are silent: a callback that says nothing changes nothing, and a server that cannot be
/// asked leaves the user signed in. Only a callback with values that cannot be real is told of, by
/// callbackRefused(). Interface thread only.
class AuthService : public QObject
{
    Q_OBJECT
    /// A token and a user id are stored.
    Q_PROPERTY(bool isLoggedIn READ isLoggedIn NOTIFY changed)
    /// Empty when the login brought none.
    Q_PROPERTY(QString displayName READ displayName NOTIFY changed)
    Q_PROPERTY(QString userId READ userId NOTIFY changed)
    /// The account of the callback from outside that the user is asked about: display name and user
    /// id, either shortened when long. Empty while there is none.
    Q_PROPERTY(QString offeredAccount READ offeredAccount NOTIFY offeredAccountChanged)

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
    QString offeredAccount() const;

    /// The page a login begins on, with a new random state that is remembered in the user defaults.
    Q_INVOKABLE QUrl makeLoginURL();

    /// The same page for a login in the user's browser. Its callback, known by the state, is taken
    /// from outside without a question, once.
    Q_INVOKABLE QUrl beginBrowserLogin();

    /// Signs in with a login's last address, of the application's own web view. When another account
    /// was signed in here before, its agents are stopped and have to be configured anew; their
    /// configuration is moved to a dated copy.
    Q_INVOKABLE void handleCallback(const QUrl &url);

    /// The same with an address from outside, which any web page can open. Unless it ends the login
    /// that was begun in the browser, it is only offered to the user; addresses that come while one is
    /// offered are dropped.
    void handleOpenedAddress(const QUrl &url);
    Q_INVOKABLE void acceptOffer();
    Q_INVOKABLE void declineOffer();

    /// Signs out at once and tells the server in the background.
    Q_INVOKABLE void logout();

Q_SIGNALS:
    void changed();
    /// A login ended, possibly in a browser: the window belongs in front.
    void activationRequested();
    void offeredAccountChanged();
    /// The reason is a Chinese sentence.
    void callbackRefused(const QString &reason);

private:
    void restore();
    QUrl makeLoginURL(const QString &state);
    /// None, and told of if need be, when nobody can sign in with it.
    std::optional<LoginCallback> readCallback(const QUrl &url);
    void signIn(const LoginCallback &callback);
    void setOffer(const std::optional<LoginCallback> &offer);
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
    QString m_browserLoginState; ///< empty while no login in the browser is under way
    std::optional<LoginCallback> m_offer;
    HTTPSession m_session;
};
