import QtQuick
import Vaelix

/// The main window: the login while nobody is signed in, then the main screen, a new one for each login.
Window {
    id: mainWindow

    required property string appVersion
    required property AuthService authService
    required property UpdateViewModel updateViewModel
    required property UserDefaults userDefaults
    /// Given by tests: see ContentView.
    property var viewModels: ({})

    width: 1080
    height: 720
    minimumWidth: 900
    minimumHeight: 600
    color: Theme.window
    title: "Vaelix"
    visible: true

    // A closing popup leaves the focus to the window itself; the screen still knows who had it.
    onActiveFocusItemChanged: {
        if (activeFocusItem === contentItem)
            gate.forceActiveFocus(Qt.PopupFocusReason);
    }

    /// How the window is shown, or was before it was minimized.
    property int shownVisibility: Window.AutomaticVisibility

    onVisibilityChanged: value => {
        if (value !== Window.Minimized && value !== Window.Hidden)
            shownVisibility = value;
    }

    function comeToFront() {
        if (visibility === Window.Minimized)
            visibility = shownVisibility;
        raise();
        requestActivate();
    }

    Connections {
        target: mainWindow.authService

        function onActivationRequested() { mainWindow.comeToFront(); }
    }
    Loader {
        id: gate

        readonly property bool isOpen: mainWindow.authService.isLoggedIn
        /// Changes with each account, also when one takes another's place.
        readonly property string account: isOpen ? "user " + mainWindow.authService.userId : ""

        anchors.fill: parent
        focus: true
        onAccountChanged: showScreen()
        Component.onCompleted: showScreen()

        function showScreen() {
            if (isOpen)
                setSource("ContentView.qml", {
                    appVersion: mainWindow.appVersion,
                    authService: mainWindow.authService,
                    updateViewModel: mainWindow.updateViewModel,
                    viewModels: mainWindow.viewModels
                });
            else
                setSource("LoginView.qml", { authService: mainWindow.authService });
        }
    }
    AccountNotices {
        anchors.fill: parent
        authService: mainWindow.authService
    }
    UpdateSheets {
        anchors.fill: parent
        viewModel: mainWindow.updateViewModel
    }
    SettingsNotice {
        problem: mainWindow.userDefaults.problem
    }
}
