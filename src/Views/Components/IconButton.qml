import QtQuick
import Vaelix

/// A plain button of an icon alone; its text is the help shown on hover and read aloud. Made of plain
/// items, as it stands in the first frame: controls take memory and time to load.
Item {
    id: button

    required property string symbol
    required property string text
    property color color: Theme.secondaryText
    /// What it began is under way: it spins, and cannot be pressed.
    property bool isBusy: false
    signal clicked

    implicitWidth: Theme.controlHeight
    implicitHeight: Theme.controlHeight
    activeFocusOnTab: true
    enabled: !isBusy
    opacity: enabled || isBusy ? 1 : Theme.disabledOpacity
    Accessible.focusable: true
    Accessible.name: text
    Accessible.role: Accessible.Button
    Accessible.onPressAction: button.clicked()
    ButtonKeys.onPressed: button.clicked()

    Rectangle {
        id: ground

        anchors.fill: parent
        color: tap.pressed ? Theme.pressed : hover.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius
    }
    FocusRing {
        control: ground
        visible: button.activeFocus
    }
    HoverHandler {
        id: hover

        onHoveredChanged: {
            if (hovered && help.status === Loader.Null)
                help.setSource("HoverHelp.qml", { text: button.text });
        }
    }
    TapHandler {
        id: tap

        gesturePolicy: TapHandler.ReleaseWithinBounds
        onSingleTapped: button.clicked()
    }
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
    Loader {
        id: help

        anchors.fill: parent
    }
    Binding {
        property: "isShown"
        target: help.item
        value: hover.hovered && !tap.pressed
        when: help.status === Loader.Ready
    }
}
