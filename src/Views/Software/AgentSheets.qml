import QtQuick
import Vaelix

/// The sheets about the agents, each made when it opens and gone when it has closed.
Item {
    id: sheets

    required property SoftwareListViewModel viewModel

    function connectQQ() {
        viewModel.beginQQBotConnection();
        qqBot.active = true;
    }
    function connectWeChat() {
        weChat.active = true;
    }

    Loader {
        id: qqBot

        active: false
        sourceComponent: QQBotConnectView {
            viewModel: sheets.viewModel
            visible: true
            onClosed: {
                sheets.viewModel.checkQQBotConnection();
                lateCheck.start();
                qqBot.active = false;
            }
        }
    }
    /// The agent's gateway makes its mark of the connection only some seconds after it was started.
    Timer {
        id: lateCheck

        property int count: 0

        interval: 2000
        repeat: true
        onRunningChanged: count = 0
        onTriggered: {
            sheets.viewModel.checkQQBotConnection();
            if (++count === 15 || sheets.viewModel.isQQBotConnected)
                stop();
        }
    }
    Loader {
        id: weChat

        active: false
        sourceComponent: WeChatConnectView {
            viewModel: sheets.viewModel
            visible: true
            onClosed: {
                sheets.viewModel.checkWeChatConnection();
                weChat.active = false;
            }
        }
    }
    Loader {
        active: sheets.viewModel.showOpenClawConfig
        sourceComponent: OpenClawConfigView {
            viewModel: sheets.viewModel
            visible: true
            onClosed: sheets.viewModel.showOpenClawConfig = false
        }
    }
    Loader {
        active: sheets.viewModel.showHermesGateway
        sourceComponent: HermesGatewayView {
            viewModel: sheets.viewModel
            visible: true
            onClosed: {
                sheets.viewModel.checkHermesConnections();
                sheets.viewModel.showHermesGateway = false;
            }
        }
    }
}
