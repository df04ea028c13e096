import QtQuick
import Vaelix

/// The output of an operation as a small terminal window.
Rectangle {
    id: pane

    required property TerminalOutput output
    required property string title

    color: Theme.window
    radius: Theme.paneRadius
    Accessible.name: title
    Accessible.role: Accessible.Pane

    Column {
        id: bars

        anchors.left: parent.left
        anchors.right: parent.right

        TerminalTitleBar {
            width: parent.width
            output: pane.output
            title: pane.title
        }
        TerminalProgressRow {
            width: parent.width
            output: pane.output
            visible: pane.output.hasProgress
        }
    }
    Rectangle {
        anchors.fill: scroller
        color: Theme.terminal
        radius: pane.radius

        Rectangle {
            width: parent.width
            height: parent.radius
            color: parent.color
        }
    }
    OutputScroller {
        id: scroller

        anchors.top: bars.bottom
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        output: pane.output
    }
    Rectangle {
        anchors.fill: parent
        border.color: Theme.faded(Theme.grey, 0.3)
        color: "transparent"
        radius: parent.radius
    }
}
