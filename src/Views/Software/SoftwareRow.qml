import QtQuick
import Vaelix

/// A piece of software in the list.
Item {
    id: row

    required property AISoftware software
    required property bool isSelected
    required property bool hasListFocus
    signal clicked

    implicitHeight: 56
    Accessible.description: software.softwareDescription
    Accessible.name: software.name + "，" + software.statusName
    Accessible.role: Accessible.ListItem
    Accessible.selectable: true
    Accessible.selected: isSelected
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.fill: parent
        anchors.bottomMargin: 1
        anchors.topMargin: 1
        color: row.isSelected ? Theme.faded(Theme.accent, 0.18) : hover.hovered ? Theme.hovered : "transparent"
        radius: Theme.paneRadius

        FocusRing {
            anchors.margins: 0
            control: parent
            controlRadius: parent.radius - thickness
            visible: row.isSelected && row.hasListFocus
        }
    }
    HoverHandler {
        id: hover
    }
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: row.clicked()
    }
    SoftwareIconView {
        id: icon

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        iconName: row.software.iconName
        iconURL: row.software.iconURL
    }
    Column {
        anchors.left: icon.right
        anchors.leftMargin: Theme.spacingM - 2
        anchors.right: badge.left
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1

        Label {
            width: parent.width
            font.weight: Font.DemiBold
            text: row.software.name
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: row.software.softwareDescription
        }
    }
    StatusBadge {
        id: badge

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        software: row.software
    }
}
