import QtQuick
import QtQuick.Templates as T
import Vaelix

/// The packages on offer, and what buys the one that was chosen.
Item {
    id: purchaseView

    required property TokenViewModel viewModel
    required property real contentWidth
    /// Without an id while none is chosen.
    property tokenPackage selectedPackage
    readonly property bool hasSelection: selectedPackage.id !== ""

    // What was asked is not what would be bought any more.
    onSelectedPackageChanged: confirmAlert.close()

    Connections {
        target: purchaseView.viewModel.packages

        function onModelReset() {
            purchaseView.selectedPackage = purchaseView.viewModel.packages.withId(purchaseView.selectedPackage.id);
        }
    }

    Flickable {
        id: scroller

        width: parent.width
        height: Math.min(contentHeight, parent.height - footer.height)
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: content.height + Theme.spacingM
        contentWidth: width

        T.ScrollBar.vertical: ScrollIndicator {}

        Column {
            id: content

            width: purchaseView.contentWidth
            spacing: Theme.spacingM

            Label {
                height: Theme.controlHeight
                font.pixelSize: Theme.title3
                font.weight: Font.DemiBold
                text: "选择套餐"
                Accessible.name: text
                Accessible.role: Accessible.Heading
            }
            PackageGrid {
                id: packages

                width: parent.width
                model: purchaseView.viewModel.packages
                selectedId: purchaseView.selectedPackage.id
                onSelected: tokenPackage => purchaseView.selectedPackage = tokenPackage
                onRevealed: (top, bottom) => scroller.reveal(packages.y + top, packages.y + bottom)
            }
        }

        /// Brings what stands between the two into view.
        function reveal(top: real, bottom: real) {
            contentY = Math.max(0, Math.min(top - Theme.spacingS, Math.max(contentY, bottom + Theme.spacingS - height)));
        }
    }
    Column {
        anchors.centerIn: parent
        spacing: Theme.spacingM
        visible: packages.count === 0

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            size: Theme.spacingXXL
            visible: purchaseView.viewModel.isLoading
        }
        Label {
            color: Theme.secondaryText
            text: purchaseView.viewModel.isLoading ? "正在加载套餐..." : "暂无可购买的套餐"
        }
    }
    Item {
        id: footer

        anchors.top: scroller.bottom
        width: purchaseView.contentWidth
        height: Theme.largeControlHeight + 2 * Theme.spacingM

        Label {
            anchors.centerIn: parent
            color: Theme.secondaryText
            text: "点选一个套餐后即可购买"
            visible: !purchaseView.hasSelection && packages.count > 0
        }
        ProgressButton {
            anchors.centerIn: parent
            width: Math.min(parent.width, Math.max(280, implicitWidth))
            height: Theme.largeControlHeight
            isBusy: purchaseView.viewModel.isPurchasing
            prominent: true
            text: "确认购买 " + purchaseView.selectedPackage.name + " - " + purchaseView.selectedPackage.formattedPrice
            visible: purchaseView.hasSelection
            onClicked: confirmAlert.open()
        }
    }
    AlertDialog {
        id: confirmAlert

        readonly property tokenPackage chosen: purchaseView.selectedPackage

        cancelText: "取消"
        confirmText: "微信支付"
        message: "购买 " + chosen.name + "（" + chosen.formattedTokenCount + " Token），价格 " + chosen.formattedPrice
            + "\n将生成微信支付二维码"
        title: "确认购买"
        onConfirmed: purchaseView.viewModel.purchase(purchaseView.selectedPackage)
    }
    Loader {
        active: purchaseView.viewModel.showPaymentSheet
        sourceComponent: WeChatPayQRView {
            viewModel: purchaseView.viewModel
            visible: true
            onAboutToHide: purchaseView.viewModel.stopPolling()
            onClosed: purchaseView.viewModel.showPaymentSheet = false
        }
    }
}
