import QtQuick
import Vaelix

/// How far a download is.
Item {
    id: row

    required property TerminalOutput output

    implicitHeight: label.implicitHeight + 2 * (Theme.spacingS - 2)

    LinearProgress {
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingM
        anchors.right: label.left
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        tint: Theme.green
        value: row.output.progress
    }
    Label {
        id: label

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        width: 36
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        horizontalAlignment: Text.AlignRight
        text: Math.floor(row.output.progress * 100) + "%"
    }
}
