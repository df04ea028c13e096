import QtQuick
import Vaelix

/// Tells over the window, once, that the settings are not kept.
Loader {
    id: notice

    required property string problem

    active: problem !== ""

    sourceComponent: AlertDialog {
        confirmText: "好"
        message: notice.problem
        title: "无法保存到磁盘"
        visible: true
    }
}
