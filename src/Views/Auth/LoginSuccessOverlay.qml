import QtQuick

/// Covers the login page once the login has succeeded, until the main screen takes the window.
Rectangle {
    id: overlay

    required property bool isShown

    color: Theme.faded(Theme.window, 0.97)
    opacity: isShown ? 1 : 0
    visible: opacity > 0
    Accessible.description: progressText.text
    Accessible.name: title.text
    Accessible.role: Accessible.AlertMessage

    Behavior on opacity {
        NumberAnimation { duration: Theme.longMotion; easing.type: Easing.OutCubic }
    }
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
    }
    Column {
        anchors.centerIn: parent
        scale: overlay.isShown ? 1 : 0.9
        spacing: Theme.spacingM

        Behavior on scale {
            NumberAnimation { duration: Theme.longMotion; easing.type: Easing.OutCubic }
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 110
            height: 110
            border.color: Theme.faded(Theme.green, 0.4)
            border.width: 2
            color: Theme.faded(Theme.green, 0.15)
            radius: width / 2

            SymbolImage {
                anchors.centerIn: parent
                color: Theme.green
                size: Theme.headerIcon
                symbol: "checkmark.circle.fill"
            }
        }
        Label {
            id: title

            anchors.horizontalCenter: parent.horizontalCenter
            font.bold: true
            font.pixelSize: Theme.title
            text: "登录成功"
        }
        Label {
            id: progressText

            anchors.horizontalCenter: parent.horizontalCenter
            color: Theme.secondaryText
            text: "正在进入 Vaelix..."
        }
        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
        }
    }
}
