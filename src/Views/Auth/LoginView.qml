import QtQuick
import Vaelix

/// What the window shows while nobody is signed in.
FocusScope {
    id: loginView

    required property AuthService authService
    required property string webFolder

    WelcomePanel {
        anchors.fill: parent
        focus: true
    }
}
