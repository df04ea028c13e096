import QtQuick
import QtQuick.Templates as T

/// A plain button of an icon alone; its text is the help shown on hover and read aloud.
T.Button {
    id: button

    required property string symbol
    property color color: Theme.secondaryText

    implicitWidth: Theme.controlHeight
    implicitHeight: Theme.controlHeight
    opacity: enabled ? 1 : Theme.disabledOpacity

    Accessible.name: text
    Accessible.role: Accessible.Button
    Keys.onEnterPressed: button.clicked()
    Keys.onReturnPressed: button.clicked()

    contentItem: Item {
        SymbolImage {
            anchors.centerIn: parent
            color: button.color
            size: Theme.smallIcon
            symbol: button.symbol
        }
    }
    background: Rectangle {
        color: button.down ? Theme.pressed : button.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius

        FocusRing {
            control: parent
            visible: button.visualFocus
        }
    }

    Tooltip {
        text: button.text
        visible: button.hovered && !button.down
    }
}
