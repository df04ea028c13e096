#pragma once

#include "Platform/Clock.h"
#include "Services/AuthService.h"
#include "Services/TokenAPIService.h"
#include "Services/UpdateCheckService.h"
#include "Support/Scratch.h"
#include "ViewModels/TokenProxyViewModel.h"
#include "Views/Auth/ScreenChangePasswordViewModel.h"
#include "Views/Dashboard/ScreenDashboardViewModel.h"
#include "Views/ScreenUpdateViewModel.h"
#include "Views/Software/ScreenViewModel.h"
#include "Views/Token/ScreenTokenViewModel.h"

#include <QAccessible>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

/// Time of which only what is slept passes, every two seconds of it within a moment.
class BriefClock : public Clock
{
public:
    std::chrono::milliseconds now() const override { return m_now; }
    QCoro::Task<> sleep(std::chrono::milliseconds duration, std::stop_token stop) override;

private:
    std::chrono::milliseconds m_now{0};
};

/// The real main window over a view model and services of a scratch home. Its elements are found as
/// assistive technology finds them: by role and name.
class Screens
{
public:
    enum class Start { SignedIn, SignedOut };

    /// `serverOrigin` is that of all the servers; nothing listens on the default one. `bundle` is where, in the
    /// scratch home, the running one lies, of build 42.
    explicit Screens(Start start = Start::SignedIn, const QString &serverOrigin = QStringLiteral("http://127.0.0.1:9"),
                     const QString &bundle = QStringLiteral("apps/Vaelix.app"));

    /// Completes a login, as its callback does.
    void signIn(const QString &displayName, const QString &token = QStringLiteral("t"));
    /// Makes `entries` the catalog and opens the software section; returns once it is loaded.
    void openSoftware(const SoftwareCatalog::Entries &entries);
    /// Selects the software by a click on its row.
    void select(const QString &name);
    /// Gives the software a status, as an operation would.
    void setStatus(const QString &id, SoftwareStatus::Value status);

    /// The visible elements of one of the roles, in their order on the screen.
    QList<QQuickItem *> elements(QAccessible::Role role) const;
    /// Null when there is no such visible element.
    QQuickItem *element(QAccessible::Role role, const QString &name) const;
    QQuickItem *button(const QString &name) const { return element(QAccessible::Button, name); }
    QQuickItem *alert(const QString &title) const { return element(QAccessible::AlertMessage, title); }
    /// The names of the buttons of the software's detail screen, with a space between; "-" before one that is disabled.
    QString detailButtons() const;
    /// Every text that can be read on the screen right now, and is not under a dimmed window.
    QStringList texts() const;
    bool shows(const QString &text) const { return texts().contains(text); }

    void click(QQuickItem *item) const;
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;
    void type(const QString &text) const;
    /// Lets what is under way on the screen come to rest.
    void settle() const;

    AISoftware *software(const QString &id) const { return viewModel.software(id); }

    Scratch scratch;
    ScreenViewModel viewModel{scratch.services()};
    /// What the authentication service would have ended, by name.
    QStringList endedProcesses;
    AuthService auth;
    TokenAPIService tokenAPI{scratch.api};
    BriefClock clock;
    ScreenTokenViewModel tokenViewModel{TokenViewModel::Services{tokenAPI, auth, clock}};
    TokenProxyViewModel tokenProxyViewModel;
    ScreenDashboardViewModel dashboardViewModel{DashboardViewModel::Services{scratch.store, tokenAPI}};
    ScreenChangePasswordViewModel changePasswordViewModel{tokenAPI};
    const Bundle runningBundle;
    /// Mounts disk images with what stands at "hdiutil" in the scratch home. Quits nothing.
    UpdateCheckService updateCheck;
    ScreenUpdateViewModel updateViewModel{updateCheck};
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;
    /// The view of the web page that is open, whether it has loaded or not; null when there is none.
    QQuickItem *webPage() const;

    /// Every warning since they were cleared last, but those of the off-screen platform, of Qt WebEngine on it, and
    /// of a catalog without a server. Screens give none.
    static QStringList warnings;

private:
    QVariantMap viewModels();
};

/// What assistive technology calls the element.
QString accessibleName(QQuickItem *item);

/// A QR code as programs print it into a terminal: two rows of modules a line, light ones as blocks.
QByteArray codeAsText(const char *content);
