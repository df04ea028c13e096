import QtQuick
import QtQuick.Templates as T
import Vaelix

/// A bordered button; the prominent one is filled with the accent colour and marks the main action.
T.Button {
    id: button

    property string symbol
    property color symbolColor: foreground
    property bool prominent: false
    property bool destructive: false
    readonly property color fill: destructive ? Theme.red : Theme.accent
    readonly property color foreground: prominent ? Theme.accentedText : destructive ? Theme.red : Theme.text

    implicitWidth: Math.max(implicitContentWidth + leftPadding + rightPadding, 64)
    implicitHeight: Theme.controlHeight
    horizontalPadding: Theme.spacingM
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.name: text
    Accessible.role: Accessible.Button
    ButtonKeys.onPressed: button.clicked()
    // Where it is handled, the second click of a double one is no click.
    onDoubleClicked: {}

    contentItem: ButtonContent {
        color: button.foreground
        symbol: button.symbol
        symbolColor: button.symbolColor
        text: button.text
    }
    background: Rectangle {
        border.color: button.prominent ? "transparent" : Theme.outline
        color: button.prominent ? button.fill : button.down ? Theme.controlPressed
                                                            : button.hovered ? Theme.controlHovered : Theme.control
        radius: Theme.controlRadius

        Rectangle {
            anchors.fill: parent
            color: button.down ? Theme.pressed : Theme.hovered
            radius: parent.radius
            visible: button.prominent && (button.down || button.hovered)
        }
        FocusRing {
            control: parent
            visible: button.visualFocus
        }
    }
}
