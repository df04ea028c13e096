import QtQuick
import Vaelix

/// Connects OpenClaw to a WeChat account: begins at once and shows the code to scan.
Sheet {
    id: weChatConnectView

    required property SoftwareListViewModel viewModel
    readonly property WeChatConnectViewModel connection: viewModel.weChatConnection

    preferredWidth: 700
    preferredHeight: 560
    title: "接入微信"
    onAboutToShow: viewModel.connectWeChat()

    Column {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingM

        ConnectionStatus {
            id: status

            symbol: weChatConnectView.connection.isSuccess ? "checkmark.circle.fill"
                : weChatConnectView.connection.isFailed ? "xmark.circle.fill" : ""
            symbolColor: weChatConnectView.connection.isSuccess ? Theme.green : Theme.red
            text: weChatConnectView.connection.isSuccess ? "接入成功"
                : weChatConnectView.connection.isFailed ? "接入失败"
                : weChatConnectView.connection.isRunning ? "请用微信扫描下方二维码..." : "正在启动..."
        }
        ConnectionLog {
            width: parent.width
            height: parent.height - status.height - parent.spacing
                - (button.visible ? button.height + parent.spacing : 0)
            output: weChatConnectView.connection.output
            placeholder: "正在加载..."
        }
        PushButton {
            id: button

            anchors.horizontalCenter: parent.horizontalCenter
            prominent: true
            text: weChatConnectView.connection.isSuccess ? "完成" : "重试"
            visible: weChatConnectView.connection.isSuccess || weChatConnectView.connection.isFailed
            onClicked: weChatConnectView.connection.isSuccess ? weChatConnectView.close()
                : weChatConnectView.viewModel.connectWeChat()
            onVisibleChanged: if (visible) forceActiveFocus()
        }
    }
}
