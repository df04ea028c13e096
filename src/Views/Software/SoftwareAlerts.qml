import QtQuick
import Vaelix

/// The questions and notices about the selected software.
Item {
    id: alerts

    required property AISoftware software
    required property SoftwareListViewModel viewModel
    required property AgentSheets sheets
    readonly property string name: software ? software.name : ""
    readonly property string version: software ? software.version : ""

    function showUninstall() { uninstallAlert.open(); }
    function showReinstall() { reinstallAlert.open(); }
    function showReconfigure() { reconfigureAlert.open(); }
    function showNoUpgrade() { noUpgradeAlert.open(); }
    function showReconnectQQ() { reconnectQQAlert.open(); }
    function showReconnectWeChat() { reconnectWeChatAlert.open(); }
    function showDisableApprovals() { disableApprovalsAlert.open(); }
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
        id: reconnectQQAlert

        cancelText: "取消"
        confirmText: "重新接入"
        message: "QQ 机器人已接入，是否重新接入？"
        title: "重新接入QQ"
        onConfirmed: alerts.sheets.connectQQ()
    }
    AlertDialog {
        id: reconnectWeChatAlert

        cancelText: "取消"
        confirmText: "重新接入"
        message: "微信已接入，是否重新接入？"
        title: "重新接入微信"
        onConfirmed: alerts.sheets.connectWeChat()
    }
    AlertDialog {
        id: disableApprovalsAlert

        cancelText: "取消"
        confirmText: "确认关闭"
        message: "关闭后，AI 将可直接执行所有工具调用（联网搜索、运行命令、读写文件等），无需每次人工确认。\n\n"
            + "⚠️ 风险提示：如本机存有重要数据、敏感文件或用于生产环境，请勿关闭此保护。"
            + (alerts.software && alerts.software.id === "hermes"
                ? "\n\n设置后请重新打开对话使配置生效。"
                : "一旦因关闭审批导致数据丢失、文件被修改或系统异常，责任由使用者自行承担，与本软件无关。\n\n"
                    + "仅建议在专用、受信任的私有设备上使用。")
        title: "关闭工具调用询问"
        onConfirmed: alerts.viewModel.disableApprovals()
    }
    AlertDialog {
        id: notSupportedAlert

        confirmText: "确定"
        message: ""
        title: "暂不支持"
    }
}
