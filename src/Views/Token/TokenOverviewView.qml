import QtQuick
import Vaelix

/// The token section: the balance, and below it the packages, the history or the access to the API.
FocusScope {
    id: overview

    required property TokenViewModel viewModel
    /// Given by tests; else each opening of the API's page makes its own, which reads the key anew.
    property TokenProxyViewModel proxyViewModel: null
    readonly property int selectedTab: viewModel.selectedTab
    readonly property real contentWidth: Math.min(width - 2 * Theme.spacingXXL, 960)

    onVisibleChanged: load()
    Component.onCompleted: load()

    function load() {
        if (visible && !viewModel.isLoading)
            viewModel.loadData();
    }

    Shortcut {
        enabled: overview.visible
        autoRepeat: false
        sequences: ["F5", "Ctrl+R"]
        onActivated: overview.load()
    }
    Column {
        id: top

        x: Theme.spacingXXL
        y: Theme.spacingXL
        width: overview.contentWidth
        spacing: Theme.spacingM

        Item {
            width: parent.width
            height: Theme.largeControlHeight

            Label {
                height: parent.height
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                text: "Token 管理"
                Accessible.name: text
                Accessible.role: Accessible.Heading
            }
            IconButton {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                isBusy: overview.viewModel.isLoading
                symbol: "arrow.clockwise"
                text: "刷新"
                onClicked: overview.load()
            }
        }
        MessageBanner {
            width: parent.width
            isError: true
            message: overview.viewModel.errorMessage
            onDismissed: overview.viewModel.dismissMessages()
        }
        MessageBanner {
            width: parent.width
            message: overview.viewModel.successMessage
            onDismissed: overview.viewModel.dismissMessages()
        }
        BalanceCard {
            width: parent.width
            balance: overview.viewModel.balance
        }
        SegmentedPicker {
            anchors.horizontalCenter: parent.horizontalCenter
            focus: true
            selectedIndex: overview.selectedTab
            titles: overview.viewModel.tabTitles
            onSelected: index => overview.viewModel.selectedTab = index
        }
    }
    Item {
        anchors.bottom: parent.bottom
        anchors.left: top.left
        anchors.right: parent.right
        anchors.top: top.bottom
        anchors.topMargin: Theme.spacingM

        TokenPurchaseView {
            anchors.fill: parent
            contentWidth: overview.contentWidth
            viewModel: overview.viewModel
            visible: overview.selectedTab === TokenTab.Purchase
        }
        Loader {
            active: overview.selectedTab === TokenTab.History
            anchors.fill: parent
            sourceComponent: TransactionHistoryView {
                contentWidth: overview.contentWidth
                viewModel: overview.viewModel
            }
        }
        Loader {
            active: overview.selectedTab === TokenTab.Proxy
            anchors.fill: parent
            sourceComponent: overview.proxyViewModel ? givenProxy : ownProxy
        }
    }
    Component {
        id: ownProxy

        TokenProxyView {
            contentWidth: overview.contentWidth
            viewModel: TokenProxyViewModel {}
        }
    }
    Component {
        id: givenProxy

        TokenProxyView {
            contentWidth: overview.contentWidth
            viewModel: overview.proxyViewModel
        }
    }
}
