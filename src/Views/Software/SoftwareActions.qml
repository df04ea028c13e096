import QtQuick
import Vaelix

/// What can be done with the selected software, by its status.
Flow {
    id: actions

    required property AISoftware software
    required property SoftwareListViewModel viewModel
    required property SoftwareAlerts alerts

    readonly property int status: software.status
    readonly property bool isReady: !viewModel.isOperating
    readonly property bool isInstalled: status === SoftwareStatus.Installed || status === SoftwareStatus.Running || status === SoftwareStatus.Stopped
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
        if (software.id === "hermes")
            alerts.showNotSupported("Hermes Agent 暂不支持在此处升级，敬请期待后续版本更新。");
        else
            viewModel.hasUpgrade(software) ? viewModel.upgrade(software) : alerts.showNoUpgrade();
    }
}
