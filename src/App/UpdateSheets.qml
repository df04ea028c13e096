import QtQuick
import Vaelix

/// The update prompt over the window, and what is told of updates. Each is loaded when it is first wanted.
Item {
    id: updates

    required property UpdateViewModel viewModel

    function showPrompt() {
        if (viewModel.hasUpdate)
            prompt.setSource("UpdatePromptView.qml", {
                version: viewModel.availableUpdate,
                viewModel: viewModel,
                visible: true
            });
    }
    function showAlert(title: string, message: string, confirmText: string) {
        if (alert.status === Loader.Null)
            alert.setSource("UpdateAlert.qml");
        (alert.item as UpdateAlert).show(title, message, confirmText);
    }

    Component.onCompleted: showPrompt()

    Connections {
        target: updates.viewModel

        function onAvailableUpdateChanged() { updates.showPrompt(); }
        function onDownloadFailed(description) { updates.showAlert("下载失败", description, "好"); }
        function onUpdateFailed(description) { updates.showAlert("更新失败", description, "确定"); }
        function onUpToDate() { updates.showAlert("已是最新版本", "当前没有可用的更新。", "好"); }
    }
    Loader {
        id: prompt
    }
    Connections {
        target: prompt.item

        // At once: its other button can still be pressed while it fades.
        function onAboutToHide() { updates.viewModel.dismiss(); }
        function onClosed() { prompt.source = ""; }
    }
    Loader {
        id: alert

        anchors.fill: parent
    }
}
