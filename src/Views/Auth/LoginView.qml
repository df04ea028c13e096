import QtQuick
import Vaelix

/// What the window shows while nobody is signed in.
FocusScope {
    id: loginView

    required property AuthService authService
    property bool showWebView: false
    /// The server's last page is loading, or has loaded.
    property bool isLoginCompleting: false
    property url pendingCallbackURL

    function openWebPanel() {
        showWebView = true;
    }
    function closeWebPanel() {
        handover.stop();
        isLoginCompleting = false;
        showWebView = false;
    }
    function complete(callbackURL: url) {
        pendingCallbackURL = callbackURL;
        handover.start();
    }

    Connections {
        target: loginView.authService

        function onCallbackRefused() {
            if (loginView.isLoginCompleting)
                loginView.closeWebPanel();
        }
    }
    /// Lets the success be seen before the main screen takes the window.
    Timer {
        id: handover

        interval: 800
        onTriggered: loginView.authService.handleCallback(loginView.pendingCallbackURL)
    }
    Loader {
        anchors.fill: parent
        focus: true
        sourceComponent: loginView.showWebView ? webPanel : welcomePanel
        onLoaded: (item as FocusScope).forceActiveFocus()
    }
    Component {
        id: welcomePanel

        WelcomePanel {
            onLoginRequested: loginView.openWebPanel()
        }
    }
    Component {
        id: webPanel

        WebPanel {
            authService: loginView.authService
            isLoginCompleting: loginView.isLoginCompleting
            onBackRequested: loginView.closeWebPanel()
            onCallback: url => loginView.complete(url)
            onCallbackLoading: loginView.isLoginCompleting = true
        }
    }
}
