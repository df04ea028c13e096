import QtQuick
import QtQuick.Templates as T
import Vaelix

/// A button without a frame, for what is beside the main action.
T.Button {
    id: button

    property string symbol

    implicitWidth: implicitContentWidth + 2 * Theme.spacingS
    implicitHeight: Theme.controlHeight
    Accessible.name: text
    Accessible.role: Accessible.Button
    ButtonKeys.onPressed: button.clicked()
    // Where it is handled, the second click of a double one is no click.
    onDoubleClicked: {}

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
