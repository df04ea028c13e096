import QtQuick
import Vaelix

/// The questions and notices about the selected software.
Item {
    id: alerts

    required property AISoftware software
    required property SoftwareListViewModel viewModel
    readonly property string name: software ? software.name : ""
    readonly property string version: software ? software.version : ""

    function showUninstall() { uninstallAlert.open(); }
    function showReinstall() { reinstallAlert.open(); }
    function showReconfigure() { reconfigureAlert.open(); }
    function showNoUpgrade() { noUpgradeAlert.open(); }
    function showNotSupported(message: string) {
        notSupportedAlert.message = message;
        notSupportedAlert.open();
    }

    AlertDialog {
        id: uninstallAlert

        cancelText: "取消"
        confirmText: "卸载"
        destructive: true
        message: "确定要卸载 " + alerts.name + " 吗？此操作不可撤销。"
        title: "确认卸载"
        onConfirmed: alerts.viewModel.uninstall(alerts.software)
    }
    AlertDialog {
        id: reinstallAlert

        confirmText: "确定"
        message: "如需重新安装 " + alerts.name + "，请先点击「卸载」按钮卸载后再安装。"
        title: "已安装"
    }
    AlertDialog {
        id: reconfigureAlert

        confirmText: "确定"
        message: "如需重新配置 " + alerts.name + "，请先点击「卸载」按钮卸载后再配置。"
        title: "已配置"
    }
    AlertDialog {
        id: noUpgradeAlert

        confirmText: "确定"
        message: alerts.version === "" ? "当前版本未知，无可用升级" : "当前版本 " + alerts.version + "，已是最新版本"
        title: "已是最新版本"
    }
    AlertDialog {
        id: notSupportedAlert

        confirmText: "确定"
        message: ""
        title: "暂不支持"
    }
}
