pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The main screen: the sidebar, and the selected section beside it.
Item {
    id: content

    required property string appVersion
    required property AuthService authService
    required property UpdateViewModel updateViewModel
    /// Given by tests, by name: "dashboard", "software", "token", "tokenProxy", "changePassword".
    /// What is not given is made where it is used.
    property var viewModels: ({})
    property NavigationItem selectedItem: dashboard

    function changePassword() {
        const viewModel = viewModels.changePassword;
        passwordSheet.setSource(viewModel ? "ChangePasswordView.qml" : "ChangePasswordSheet.qml",
                                viewModel ? { viewModel: viewModel, visible: true } : { visible: true });
    }

    Sidebar {
        id: sidebar

        width: divider.position
        height: parent.height
        appVersion: content.appVersion
        displayName: content.authService.displayName
        isCheckingUpdate: content.updateViewModel.isCheckingUpdate
        selectedItem: content.selectedItem
        onChangePasswordRequested: content.changePassword()
        onLogoutRequested: content.authService.logout()
        onSelected: item => content.selectedItem = item
        onUpdateCheckRequested: content.updateViewModel.check()

        NavigationItem {
            id: dashboard

            screen: content.viewModels.dashboard ? "DashboardView.qml" : "DashboardSection.qml"
            screenProperties: content.viewModels.dashboard ? { viewModel: content.viewModels.dashboard } : {}
            symbol: "square.grid.2x2"
            title: "仪表盘"
        }
        NavigationItem {
            screen: content.viewModels.software ? "SoftwareListView.qml" : "SoftwareSection.qml"
            screenProperties: content.viewModels.software ? { viewModel: content.viewModels.software } : {}
            symbol: "cpu"
            title: "AI 软件"
        }
        NavigationItem {
            screen: content.viewModels.token ? "TokenOverviewView.qml" : "TokenSection.qml"
            screenProperties: content.viewModels.token
                ? { viewModel: content.viewModels.token, proxyViewModel: content.viewModels.tokenProxy } : {}
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
    /// Gone with what was typed when it is closed.
    Loader {
        id: passwordSheet
    }
    Connections {
        target: passwordSheet.item

        function onClosed() { passwordSheet.source = ""; }
    }
}
