import QtQuick

/// The line at the sidebar's edge; dragging it changes the sidebar's width.
Item {
    id: divider

    property real position: 210
    readonly property real minimum: 190
    readonly property real maximum: 260

    function moveTo(position: real) {
        divider.position = Math.max(minimum, Math.min(maximum, position));
    }

    x: position
    width: 1

    Separator {
        anchors.fill: parent
    }
    MouseArea {
        anchors.fill: parent
        anchors.leftMargin: -3
        anchors.rightMargin: -3
        cursorShape: Qt.SplitHCursor
        preventStealing: true
        onPositionChanged: mouse => divider.moveTo(mapToItem(divider.parent, mouse.x, 0).x)
    }
}
