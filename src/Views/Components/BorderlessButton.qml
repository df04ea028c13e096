import QtQuick
import QtQuick.Templates as T

/// A button without a frame, for what is beside the main action.
T.Button {
    id: button

    property string symbol

    implicitWidth: implicitContentWidth + 2 * Theme.spacingS
    implicitHeight: Theme.controlHeight
    Accessible.name: text
    Accessible.role: Accessible.Button
    Keys.onEnterPressed: button.clicked()
    Keys.onReturnPressed: button.clicked()

    contentItem: ButtonContent {
        color: Theme.accent
        symbol: button.symbol
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
