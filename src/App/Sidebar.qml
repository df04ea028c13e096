pragma ComponentBehavior: Bound

import QtQuick

/// The sections of the application, its version, and the user's account.
Rectangle {
    id: sidebar

    default property list<NavigationItem> items
    required property NavigationItem selectedItem
    required property string appVersion
    required property string displayName
    required property bool isCheckingUpdate
    signal selected(NavigationItem item)
    signal updateCheckRequested
    signal changePasswordRequested
    signal logoutRequested

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
        anchors.bottom: footer.top
        width: parent.width
    }
    Column {
        id: footer

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.spacingS
        topPadding: Theme.spacingS

        Item {
            width: parent.width
            height: Theme.controlHeight

            Label {
                anchors.left: parent.left
                anchors.leftMargin: Theme.spacingS
                anchors.right: updateButton.left
                height: parent.height
                color: Theme.secondaryText
                font.pixelSize: Theme.caption
                text: "v" + sidebar.appVersion
            }
            IconButton {
                id: updateButton

                anchors.right: parent.right
                isBusy: sidebar.isCheckingUpdate
                symbol: "arrow.triangle.2.circlepath"
                text: "检查更新"
                onClicked: sidebar.updateCheckRequested()
            }
        }
        AccountMenu {
            width: parent.width
            displayName: sidebar.displayName
            onChangePasswordRequested: sidebar.changePasswordRequested()
            onLogoutRequested: sidebar.logoutRequested()
        }
    }
}
