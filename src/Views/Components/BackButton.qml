import QtQuick
import QtQuick.Templates as T

/// Leads back to where one came from.
T.Button {
    id: button

    implicitWidth: implicitContentWidth + 2 * Theme.spacingS
    implicitHeight: Theme.controlHeight
    text: "返回"
    Accessible.name: text
    Accessible.role: Accessible.Button
    Keys.onEnterPressed: button.clicked()
    Keys.onReturnPressed: button.clicked()

    contentItem: ButtonContent {
        color: Theme.accent
        symbol: "chevron.left"
        symbolColor: Theme.accent
        text: button.text
    }
    background: Rectangle {
        color: button.down ? Theme.pressed : button.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius

        FocusRing {
            control: parent
            visible: button.visualFocus
        }
    }
}
