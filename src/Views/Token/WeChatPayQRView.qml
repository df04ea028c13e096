import QtQuick
import Vaelix

/// The code that pays the current order, while it waits for the payment.
Sheet {
    id: weChatPayQRView

    required property TokenViewModel viewModel

    closesAtEnd: true
    preferredWidth: 400
    preferredHeight: 560
    title: "微信扫码支付"

    Column {
        anchors.centerIn: parent
        width: parent.width - 2 * Theme.spacingXL
        spacing: Theme.spacingXL

        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingS

            SymbolImage {
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.green
                size: Theme.spacingXXL
                symbol: "creditcard.fill"
            }
            Label {
                font.pixelSize: Theme.largeTitle
                font.weight: Font.DemiBold
                text: weChatPayQRView.viewModel.paymentAmountText
            }
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            width: code.width + 2 * Theme.spacingM
            height: width
            border.color: Theme.separator
            color: "white"
            radius: Theme.cardRadius

            Image {
                id: code

                anchors.centerIn: parent
                width: 220
                height: 220
                cache: false
                smooth: false
                source: weChatPayQRView.viewModel.paymentQRUrl === "" ? ""
                    : "image://qrcode/" + encodeURIComponent(weChatPayQRView.viewModel.paymentQRUrl)
                Accessible.name: "付款二维码"
                Accessible.role: Accessible.Graphic
            }
            Spinner {
                anchors.centerIn: parent
                color: "#6E6E73" // on white in either look
                size: Theme.spacingXXL
                visible: code.status !== Image.Ready && !failure.visible
            }
            Label {
                id: failure

                anchors.centerIn: parent
                width: code.width
                color: "#1D1D1F" // on white in either look
                horizontalAlignment: Text.AlignHCenter
                text: "二维码内容过长，无法显示，请取消后重新下单"
                visible: code.status === Image.Error
                wrapMode: Text.Wrap
            }
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: "请使用微信扫描二维码完成支付"
        }
        Item {
            width: parent.width
            height: Theme.controlHeight

            Row {
                anchors.centerIn: parent
                spacing: Theme.spacingS
                visible: weChatPayQRView.viewModel.isPolling

                Spinner {
                    anchors.verticalCenter: parent.verticalCenter
                    size: Theme.smallIcon
                }
                Label {
                    color: Theme.secondaryText
                    text: "等待支付结果..."
                }
            }
        }
    }
}
