pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The main screen: the sidebar, and the selected section beside it.
Item {
    id: content

    required property string appVersion
    required property AuthService authService
    /// Given by tests; else the software section makes its own.
    property SoftwareListViewModel softwareViewModel: null
    property NavigationItem selectedItem: dashboard
    property bool isCheckingUpdate: false

    function checkForUpdates() {
        isCheckingUpdate = true;
        updateCheck.start();
    }
    function finishUpdateCheck() {
        isCheckingUpdate = false;
        if (upToDateAlert.status === Loader.Null)
            upToDateAlert.setSource("UpToDateAlert.qml");
        (upToDateAlert.item as UpToDateAlert).open();
    }

    Sidebar {
        id: sidebar

        width: divider.position
        height: parent.height
        appVersion: content.appVersion
        displayName: content.authService.displayName
        isCheckingUpdate: content.isCheckingUpdate
        selectedItem: content.selectedItem
        onLogoutRequested: content.authService.logout()
        onSelected: item => content.selectedItem = item
        onUpdateCheckRequested: content.checkForUpdates()

        NavigationItem {
            id: dashboard

            screen: "EmptyPlaceholder.qml"
            screenProperties: ({ title: title, systemImage: symbol, description: "即将推出" })
            symbol: "square.grid.2x2"
            title: "仪表盘"
        }
        NavigationItem {
            screen: content.softwareViewModel ? "SoftwareListView.qml" : "SoftwareSection.qml"
            screenProperties: content.softwareViewModel ? { viewModel: content.softwareViewModel } : {}
            symbol: "cpu"
            title: "AI 软件"
        }
        NavigationItem {
            screen: "EmptyPlaceholder.qml"
            screenProperties: ({ title: title, systemImage: symbol, description: "即将推出" })
            symbol: "bitcoinsign.circle"
            title: "Token 管理"
        }
    }
    Item {
        id: detailArea

        anchors.bottom: parent.bottom
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top

        Repeater {
            model: sidebar.items.length

            NavigationLoader {
                required property int index

                anchors.fill: parent
                isShown: navigationItem === content.selectedItem
                navigationItem: sidebar.items[index]
            }
        }
        EmptyPlaceholder {
            anchors.fill: parent
            description: "选择左侧菜单开始使用"
            systemImage: "cpu"
            title: "Vaelix"
            visible: !content.selectedItem
        }
    }
    SidebarDivider {
        id: divider

        height: parent.height
    }
    Timer {
        id: updateCheck

        interval: 0
        onTriggered: content.finishUpdateCheck()
    }
    Loader {
        id: upToDateAlert

        anchors.fill: parent
    }
}
