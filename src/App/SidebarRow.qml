import QtQuick
import Vaelix

/// One section in the sidebar.
Item {
    id: row

    required property NavigationItem item
    required property bool isSelected
    readonly property color foreground: isSelected ? Theme.accent : Theme.text
    signal clicked

    implicitHeight: Theme.rowHeight
    activeFocusOnTab: true
    Accessible.focusable: true
    Accessible.name: item.title
    Accessible.role: Accessible.Button
    Accessible.selectable: true
    Accessible.selected: isSelected
    Accessible.onPressAction: clicked()
    ButtonKeys.onPressed: clicked()

    Rectangle {
        id: ground

        anchors.fill: parent
        color: row.isSelected ? Theme.faded(Theme.accent, 0.18) : hover.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius
    }
    FocusRing {
        control: ground
        visible: row.activeFocus
    }
    HoverHandler {
        id: hover
    }
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: row.clicked()
    }
    SymbolImage {
        id: symbolImage

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingM - 2
        anchors.verticalCenter: parent.verticalCenter
        color: row.foreground
        symbol: row.item.symbol
    }
    Label {
        anchors.left: symbolImage.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        height: parent.height
        color: row.foreground
        text: row.item.title
    }
}
