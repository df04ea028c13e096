import QtQuick
import Vaelix

/// What can be done with the selected software, by its status.
Flow {
    id: actions

    required property AISoftware software
    required property SoftwareListViewModel viewModel
    required property SoftwareAlerts alerts
    required property AgentSheets sheets

    readonly property int status: software.status
    readonly property bool isReady: !viewModel.isOperating
    readonly property bool isInstalled: software.isUsable
    readonly property bool isHermes: software.id === "hermes"
    readonly property bool isAgent: software.id === "openclaw" || isHermes
    readonly property bool isConfigured: viewModel.configuredSoftwareIds.includes(software.id)

    spacing: Theme.spacingS

    BusyAction {
        cancelText: "取消安装"
        text: "正在安装..."
        visible: actions.status === SoftwareStatus.Installing
        onCancelled: actions.viewModel.cancelInstall(actions.software)
    }
    BusyAction {
        cancelText: "取消卸载"
        text: "正在卸载..."
        visible: actions.status === SoftwareStatus.Uninstalling
        onCancelled: actions.viewModel.cancelInstall(actions.software)
    }
    BusyAction {
        cancelText: "取消升级"
        text: "正在升级..."
        visible: actions.status === SoftwareStatus.Upgrading
        onCancelled: actions.viewModel.cancelInstall(actions.software)
    }
    PushButton {
        enabled: actions.isReady
        prominent: true
        symbol: "arrow.down.circle.fill"
        text: "安装"
        visible: actions.status === SoftwareStatus.NotInstalled
        onClicked: actions.viewModel.install(actions.software)
    }
    PushButton {
        enabled: actions.isReady
        prominent: true
        symbol: "arrow.clockwise"
        text: "重试安装"
        visible: actions.status === SoftwareStatus.Error
        onClicked: actions.viewModel.install(actions.software)
    }
    PushButton {
        enabled: actions.isReady
        symbol: "checkmark.circle.fill"
        symbolColor: Theme.green
        text: "已安装"
        visible: actions.isInstalled
        onClicked: actions.alerts.showReinstall()
    }
    PushButton {
        enabled: actions.isReady
        prominent: true
        symbol: "play.fill"
        text: "启动"
        visible: actions.isInstalled && actions.status !== SoftwareStatus.Running
        onClicked: actions.viewModel.start(actions.software)
    }
    PushButton {
        enabled: actions.isReady
        prominent: true
        symbol: "stop.fill"
        text: "停止"
        visible: actions.status === SoftwareStatus.Running
        onClicked: actions.viewModel.stop(actions.software)
    }
    PushButton {
        enabled: actions.isReady && actions.isInstalled
        symbol: actions.isConfigured ? "checkmark.seal.fill" : "gear"
        symbolColor: actions.isConfigured ? Theme.green : foreground
        text: actions.isConfigured ? "已配置" : "配置"
        visible: actions.software.configCommand !== ""
        onClicked: actions.isConfigured ? actions.alerts.showReconfigure() : actions.viewModel.configure(actions.software)
    }
    PushButton {
        enabled: actions.isReady && actions.isInstalled
        symbol: "message.fill"
        text: "打开对话"
        visible: actions.isAgent
        onClicked: actions.isHermes ? actions.viewModel.openHermesChat() : actions.viewModel.openChat(actions.software)
    }
    ConnectionButton {
        connected: actions.viewModel.isWeChatConnected
        enabled: actions.isReady && actions.isInstalled
        platform: "微信"
        visible: actions.isAgent
        onClicked: {
            if (actions.isHermes)
                actions.alerts.showNotSupported("Hermes Agent 暂不支持接入微信，敬请期待后续版本更新。");
            else
                connected ? actions.alerts.showReconnectWeChat() : actions.sheets.connectWeChat();
        }
    }
    ConnectionButton {
        connected: actions.viewModel.isQQBotConnected
        enabled: actions.isReady && actions.isInstalled
        platform: "QQ"
        visible: actions.isAgent
        onClicked: {
            if (actions.isHermes)
                actions.alerts.showNotSupported("Hermes Agent 暂不支持接入QQ，敬请期待后续版本更新。");
            else
                connected ? actions.alerts.showReconnectQQ() : actions.sheets.connectQQ();
        }
    }
    PushButton {
        readonly property bool isDisabled: actions.viewModel.isApprovalsDisabled

        enabled: actions.isReady && actions.isInstalled
        symbol: isDisabled ? "checkmark.shield.fill" : "shield.slash"
        symbolColor: isDisabled ? Theme.green : foreground
        text: isDisabled ? "已关闭询问" : "关闭询问"
        visible: actions.isAgent
        onClicked: if (!isDisabled) actions.alerts.showDisableApprovals()
    }
    PushButton {
        enabled: actions.isReady && actions.isInstalled
        symbol: "arrow.up.circle"
        text: "升级"
        onClicked: actions.upgrade()
    }
    PushButton {
        destructive: true
        enabled: actions.isReady && actions.isInstalled
        symbol: "trash"
        text: "卸载"
        onClicked: actions.alerts.showUninstall()
    }

    function upgrade() {
        if (isHermes)
            alerts.showNotSupported("Hermes Agent 暂不支持在此处升级，敬请期待后续版本更新。");
        else
            viewModel.hasUpgrade(software) ? viewModel.upgrade(software) : alerts.showNoUpgrade();
    }
}
