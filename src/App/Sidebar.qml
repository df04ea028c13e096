pragma ComponentBehavior: Bound

import QtQuick

/// The sections of the application and its version.
Rectangle {
    id: sidebar

    default property list<NavigationItem> items
    required property NavigationItem selectedItem
    required property string appVersion
    signal selected(NavigationItem item)

    color: Theme.sidebar

    Column {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingM
        spacing: 2

        Repeater {
            model: sidebar.items.length

            SidebarRow {
                required property int index

                width: parent.width
                isSelected: item === sidebar.selectedItem
                item: sidebar.items[index]
                onClicked: sidebar.selected(item)
            }
        }
    }
    Separator {
        anchors.bottom: version.top
        width: parent.width
    }
    Label {
        id: version

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingL
        anchors.right: parent.right
        height: Theme.rowHeight + Theme.spacingS
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        text: "v" + sidebar.appVersion
    }
}
