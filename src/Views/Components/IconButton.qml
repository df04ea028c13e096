import QtQuick
import QtQuick.Templates as T

/// A plain button of an icon alone; its text is the help shown on hover and read aloud.
T.Button {
    id: button

    required property string symbol
    property color color: Theme.secondaryText
    /// What it began is under way: it spins, and cannot be pressed.
    property bool isBusy: false

    implicitWidth: Theme.controlHeight
    implicitHeight: Theme.controlHeight
    enabled: !isBusy
    opacity: enabled || isBusy ? 1 : Theme.disabledOpacity

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
            visible: !button.isBusy
        }
        Spinner {
            anchors.centerIn: parent
            size: Theme.smallIcon
            visible: button.isBusy
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
