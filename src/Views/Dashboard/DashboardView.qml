import QtQuick
import Vaelix

/// The first section: what is installed and runs, what the account has and uses. Made of plain items, as it
/// stands there from the start: controls take memory and time to load.
FocusScope {
    id: dashboard

    required property DashboardViewModel viewModel

    onVisibleChanged: load()
    Component.onCompleted: load()

    function load() {
        if (visible)
            viewModel.loadData();
    }

    GridView {
        id: grid

        readonly property int columns: Math.max(1, Math.floor(width / 200))

        anchors.fill: parent
        anchors.leftMargin: Theme.spacingXXL
        anchors.rightMargin: Theme.spacingXXL - Theme.spacingM
        activeFocusOnTab: interactive
        bottomMargin: Theme.spacingM
        boundsBehavior: Flickable.StopAtBounds
        cellHeight: 64
        cellWidth: Math.floor(width / columns)
        interactive: height > 0 && contentHeight > height
        keyNavigationEnabled: false
        model: dashboard.viewModel.softwareList
        Accessible.name: "软件状态"
        Accessible.role: Accessible.List
        Keys.onDownPressed: scroll(cellHeight)
        Keys.onUpPressed: scroll(-cellHeight)

        function scroll(distance: real) {
            contentY = originY + Math.max(0, Math.min(contentHeight - height, contentY - originY + distance));
        }

        header: DashboardHeader {
            width: grid.width - Theme.spacingM
            hasSoftware: grid.count > 0
            isLoading: dashboard.viewModel.isLoading
            viewModel: dashboard.viewModel
        }
        delegate: SoftwareStatusCard {
            width: grid.cellWidth - Theme.spacingM
            height: grid.cellHeight - Theme.spacingM
        }
    }
    Loader {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.top: parent.top
        active: grid.interactive
        source: "DashboardScrollBar.qml"
        onLoaded: (item as DashboardScrollBar).flickable = grid
    }
}
