import QtQuick
import Vaelix

/// A piece of software on the dashboard: its name and its status.
Rectangle {
    id: card

    required property AISoftware software
    readonly property color statusColor: StatusStyle.color(software.status)

    border.color: Theme.separator
    color: Theme.card
    radius: Theme.paneRadius
    Accessible.name: software.name + "，" + software.statusName
    Accessible.role: Accessible.ListItem

    Label {
        x: Theme.spacingM
        y: Theme.spacingS - 2
        width: parent.width - 2 * x
        text: card.software.name
    }
    Label {
        x: Theme.spacingM
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingS - 2
        width: parent.width - 2 * x
        color: Theme.readable(card.statusColor)
        font.pixelSize: Theme.caption
        text: card.software.statusName
    }
}
