import QtQuick

/// Stands in for a page while it loads, and when it cannot be loaded.
Item {
    id: status

    required property string pageName
    required property bool hasFailed
    signal retryRequested

    Column {
        anchors.centerIn: parent
        spacing: Theme.spacingM
        visible: !status.hasFailed

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            size: Theme.spacingXXL
        }
        Label {
            color: Theme.secondaryText
            text: "正在打开" + status.pageName + "..."
        }
    }
    EmptyPlaceholder {
        anchors.fill: parent
        description: "请检查网络连接，然后重试。"
        systemImage: "exclamationmark.triangle.fill"
        title: "无法打开" + status.pageName
        visible: status.hasFailed

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            y: parent.height / 2 + 80
            prominent: true
            text: "重试"
            onClicked: status.retryRequested()
        }
    }
}
