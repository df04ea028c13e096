import QtQuick
import Vaelix

/// Which chat platforms the gateway of Hermes is connected to, and its set-up.
Sheet {
    id: hermesGatewayView

    required property SoftwareListViewModel viewModel
    readonly property bool hasOutput: !viewModel.terminalOutput.isEmpty

    preferredWidth: 560
    preferredHeight: hasOutput ? 640 : 400
    title: "Hermes 平台接入"

    Column {
        id: controls

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingM

        Label {
            width: parent.width
            color: Theme.secondaryText
            lineHeight: 1.1
            text: "Hermes 支持通过网关连接多个消息平台。点击下方按钮配置网关，或手动运行 hermes gateway setup 进行交互式配置。"
            wrapMode: Text.Wrap
        }
        Column {
            width: parent.width

            PlatformRow {
                width: parent.width
                connected: hermesGatewayView.viewModel.isHermesTelegramConnected
                icon: "paperplane.fill"
                name: "Telegram"
            }
            Separator {
                width: parent.width
            }
            PlatformRow {
                width: parent.width
                connected: hermesGatewayView.viewModel.isHermesDiscordConnected
                icon: "bubble.left.and.bubble.right.fill"
                name: "Discord"
            }
            Separator {
                width: parent.width
            }
            PlatformRow {
                width: parent.width
                connected: hermesGatewayView.viewModel.isHermesWeChatConnected
                icon: "message.fill"
                name: "微信"
            }
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingS

            PushButton {
                enabled: !hermesGatewayView.viewModel.isOperating
                prominent: true
                symbol: "gear"
                text: "配置网关"
                onClicked: hermesGatewayView.viewModel.setupHermesGateway()
            }
            PushButton {
                enabled: !hermesGatewayView.viewModel.isOperating
                prominent: true
                symbol: "play.fill"
                text: "启动网关"
                onClicked: hermesGatewayView.viewModel.openHermesChat()
            }
        }
        ErrorBanner {
            width: parent.width
            message: hermesGatewayView.viewModel.errorMessage
            visible: message !== ""
        }
    }
    TerminalOutputView {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: controls.bottom
        anchors.margins: Theme.spacingXL
        height: Math.max(150, Math.min(300, parent.height - controls.height - 3 * Theme.spacingXL))
        output: hermesGatewayView.viewModel.terminalOutput
        title: "Hermes Gateway"
        visible: hermesGatewayView.hasOutput
    }
}
