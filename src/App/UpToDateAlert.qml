import QtQuick

/// The notice that there is nothing to update.
Item {
    function open() {
        alert.open();
    }

    AlertDialog {
        id: alert

        confirmText: "好"
        message: "当前没有可用的更新。"
        title: "已是最新版本"
    }
}
