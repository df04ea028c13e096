import QtQuick

/// Stands in for the login page while it loads, and when it cannot be loaded.
Item {
    id: status

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
            text: "正在打开登录页面..."
        }
    }
    EmptyPlaceholder {
        anchors.fill: parent
        description: "请检查网络连接，然后重试。"
        systemImage: "exclamationmark.triangle.fill"
        title: "无法打开登录页面"
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
