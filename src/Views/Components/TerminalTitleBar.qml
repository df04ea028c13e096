pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The three circles, the title, and what can be done with the output.
Item {
    id: bar

    required property TerminalOutput output
    required property string title

    implicitHeight: 12 + 2 * Theme.spacingS

    Row {
        id: circles

        x: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.spacingS - 2

        Repeater {
            model: [Theme.red, Theme.yellow, Theme.green]

            Rectangle {
                required property color modelData

                width: 12
                height: 12
                color: modelData
                radius: 6
            }
        }
    }
    Label {
        anchors.left: circles.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: copyButton.left
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        horizontalAlignment: Text.AlignHCenter
        text: bar.title
    }
    IconButton {
        id: copyButton

        property bool isDone: false

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        width: 24
        height: 24
        enabled: !bar.output.isEmpty
        symbol: isDone ? "checkmark" : "doc.on.doc"
        text: isDone ? "已复制" : "复制输出"
        onClicked: {
            Pasteboard.copyOutput(bar.output);
            isDone = true;
            reset.restart();
        }

        Timer {
            id: reset

            interval: 2000
            onTriggered: copyButton.isDone = false
        }
    }
}
