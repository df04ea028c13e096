import QtQuick
import QtQuick.Templates as T

/// A slim scroll bar over its Flickable, seen while there is something to scroll.
T.ScrollBar {
    id: scrollBar

    property color color: Theme.secondaryText

    implicitWidth: 10
    implicitHeight: 10
    padding: 2
    focusPolicy: Qt.NoFocus
    minimumSize: 0.08
    visible: size < 1
    Accessible.ignored: true

    contentItem: Rectangle {
        implicitWidth: 6
        implicitHeight: 6
        color: scrollBar.color
        opacity: scrollBar.pressed ? 0.8 : scrollBar.hovered ? 0.6 : scrollBar.active ? 0.45 : 0.25
        radius: 3

        Behavior on opacity {
            NumberAnimation { duration: Theme.shortMotion }
        }
    }
}
