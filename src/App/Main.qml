import QtQuick
import Vaelix

/// The main window.
Window {
    id: mainWindow

    required property string appVersion
    property SoftwareListViewModel softwareViewModel: null

    width: 1080
    height: 720
    minimumWidth: 900
    minimumHeight: 600
    color: Theme.window
    title: "Vaelix"
    visible: true

    ContentView {
        anchors.fill: parent
        appVersion: mainWindow.appVersion
        softwareViewModel: mainWindow.softwareViewModel
    }
}
