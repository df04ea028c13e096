import QtQuick
import Vaelix

/// The main screen: the sidebar, and the selected section beside it.
Item {
    id: content

    required property string appVersion
    /// Given by tests; the software section makes its own else.
    property SoftwareListViewModel softwareViewModel: null
    property NavigationItem selectedItem: dashboard

    readonly property list<NavigationItem> items: [
        NavigationItem {
            id: dashboard

            screen: dashboardScreen
            symbol: "square.grid.2x2"
            title: "仪表盘"
        },
        NavigationItem {
            screen: content.softwareViewModel ? givenSoftwareScreen : softwareScreen
            symbol: "cpu"
            title: "AI 软件"
        },
        NavigationItem {
            screen: tokenScreen
            symbol: "bitcoinsign.circle"
            title: "Token 管理"
        }
    ]

    Component {
        id: dashboardScreen

        EmptyPlaceholder {
            description: "即将推出"
            systemImage: "square.grid.2x2"
            title: "仪表盘"
        }
    }
    Component {
        id: softwareScreen

        SoftwareListView {
            viewModel: SoftwareListViewModel {}
        }
    }
    Component {
        id: givenSoftwareScreen

        SoftwareListView {
            viewModel: content.softwareViewModel
        }
    }
    Component {
        id: tokenScreen

        EmptyPlaceholder {
            description: "即将推出"
            systemImage: "bitcoinsign.circle"
            title: "Token 管理"
        }
    }
    Sidebar {
        id: sidebar

        width: divider.position
        height: parent.height
        appVersion: content.appVersion
        items: content.items
        selectedItem: content.selectedItem
        onSelected: item => content.selectedItem = item
    }
    Repeater {
        model: content.items.length

        // A section is made when it is first shown, and then kept with all that goes on in it.
        Loader {
            required property int index
            readonly property bool isShown: content.selectedItem === content.items[index]

            anchors.fill: detailArea
            active: false
            sourceComponent: content.items[index].screen
            visible: isShown
            onIsShownChanged: if (isShown) active = true
            Component.onCompleted: if (isShown) active = true
        }
    }
    EmptyPlaceholder {
        anchors.fill: detailArea
        description: "选择左侧菜单开始使用"
        systemImage: "cpu"
        title: "Vaelix"
        visible: !content.selectedItem
    }
    Item {
        id: detailArea

        anchors.bottom: parent.bottom
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
    }
    SidebarDivider {
        id: divider

        height: parent.height
    }
}
