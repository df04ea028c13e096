import QtQuick
import Vaelix

/// The status of a piece of software as a small pill.
Rectangle {
    id: badge

    required property AISoftware software
    readonly property color statusColor: StatusStyle.color(software.status)

    implicitWidth: label.implicitWidth + 2 * Theme.spacingS
    implicitHeight: 18
    color: Theme.faded(statusColor, 0.16)
    radius: height / 2

    Label {
        id: label

        anchors.centerIn: parent
        color: Theme.readable(badge.statusColor)
        font.pixelSize: Theme.smallCaption
        text: badge.software.statusName
    }
}
