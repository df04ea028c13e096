pragma ComponentBehavior: Bound

import QtQuick

/// One choice of a few, side by side; the arrow keys move it.
FocusScope {
    id: picker

    required property var titles
    required property int selectedIndex
    signal selected(int index)

    implicitWidth: row.width + 2 * row.x
    implicitHeight: Theme.rowHeight
    Keys.onLeftPressed: step(-1)
    Keys.onRightPressed: step(1)

    function step(direction: int) {
        const index = Math.max(0, Math.min(titles.length - 1, selectedIndex + direction));
        selected(index);
        segments.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.pressed
        radius: Theme.paneRadius
    }
    Row {
        id: row

        x: 2
        y: 2
        height: parent.height - 4

        Repeater {
            id: segments

            model: picker.titles

            Segment {
                required property int index
                required property string modelData

                height: row.height
                activeFocusOnTab: isSelected
                focus: isSelected
                isSelected: index === picker.selectedIndex
                text: modelData
                onClicked: picker.selected(index)
            }
        }
    }
}
