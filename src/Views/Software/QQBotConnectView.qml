import QtQuick
import Vaelix

/// Connects OpenClaw to a QQ bot: the platform's page until a bot is chosen, then what the agent says.
Sheet {
    id: qqBotConnectView

    required property SoftwareListViewModel viewModel
    readonly property QQBotConnectViewModel connection: viewModel.qqBotConnection

    /// Why the page is not shown here; empty unless it cannot be.
    readonly property string obstacle: WebEngine.prepare()

    preferredWidth: 800
    preferredHeight: 600
    title: "接入 QQ 机器人"

    Loader {
        id: web

        anchors.bottomMargin: Theme.cardRadius // keeps the page out of the sheet's round corners
        anchors.fill: parent
        active: !qqBotConnectView.connection.showLog
        focus: true
        // Named, so that Qt WebEngine is loaded only now.
        source: qqBotConnectView.obstacle === "" ? "QQBotWebView.qml" : ""

        Connections {
            target: web.item

            function onCredentialsDetected(appId: string, appSecret: string) {
                qqBotConnectView.connection.takeCredentials(appId, appSecret);
            }
            function onRetryRequested() {
                web.active = false;
                web.active = Qt.binding(() => !qqBotConnectView.connection.showLog);
            }
        }
    }
    QQBotPage {
        id: page
    }
    BrowserOffer {
        id: offer

        anchors.fill: parent
        actionText: "在浏览器中打开"
        copyText: "复制页面地址"
        hint: "在浏览器中创建机器人，然后把它的凭证填在下面。"
        reason: !web.active ? "" : web.status === Loader.Error ? webEngineIsMissing : qqBotConnectView.obstacle
        title: "无法打开 QQ 机器人页面"
        onCopyRequested: Pasteboard.copyText(page.address)
        onOpenRequested: open(page.address)
    }
    QQBotEntry {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingXXL
        anchors.horizontalCenter: parent.horizontalCenter
        visible: offer.visible
        onEntered: (appId, appSecret) => qqBotConnectView.connection.takeCredentials(appId, appSecret)
    }
    Column {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingM
        visible: qqBotConnectView.connection.showLog

        ConnectionStatus {
            id: status

            symbol: qqBotConnectView.connection.connectSuccess ? "checkmark.circle.fill" : "arrow.triangle.2.circlepath"
            symbolColor: qqBotConnectView.connection.connectSuccess ? Theme.green : Theme.blue
            text: qqBotConnectView.connection.connectSuccess ? "接入成功" : "正在接入..."
        }
        ConnectionLog {
            width: parent.width
            height: parent.height - status.height - parent.spacing
                - (done.visible ? done.height + parent.spacing : 0)
            output: qqBotConnectView.connection.connectLog
        }
        PushButton {
            id: done

            anchors.horizontalCenter: parent.horizontalCenter
            prominent: true
            text: "完成"
            visible: qqBotConnectView.connection.connectSuccess
            onClicked: qqBotConnectView.close()
            onVisibleChanged: if (visible) forceActiveFocus()
        }
    }
    AlertDialog {
        cancelText: "取消"
        confirmText: "接入"
        message: "APPID: " + qqBotConnectView.connection.detectedAppId + "\nAPPSECRET: "
            + qqBotConnectView.connection.detectedAppSecret.slice(0, 8) + "...\n\n是否将此机器人接入 OpenClaw？"
        title: "检测到机器人凭证"
        visible: qqBotConnectView.connection.showConnectAlert
        onClosed: qqBotConnectView.connection.showConnectAlert = false
        onConfirmed: qqBotConnectView.viewModel.connectQQBot()
    }
}
