import QtQuick

/// What the last purchase came to, until it is taken away or the next one begins; nothing without a message.
Rectangle {
    id: banner

    required property string message
    property bool isError: false
    readonly property color tint: isError ? Theme.red : Theme.green
    signal dismissed

    implicitHeight: Math.max(Theme.largeControlHeight, label.implicitHeight + 2 * Theme.spacingS)
    color: Theme.faded(tint, 0.12)
    radius: Theme.paneRadius
    visible: message !== ""
    Accessible.name: message
    Accessible.role: Accessible.AlertMessage

    SymbolImage {
        id: symbolImage

        x: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        color: banner.tint
        symbol: banner.isError ? "exclamationmark.triangle.fill" : "checkmark.circle.fill"
    }
    Label {
        id: label

        anchors.left: symbolImage.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: closeButton.left
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.readable(banner.tint)
        maximumLineCount: 3
        text: banner.message
        wrapMode: Text.Wrap
    }
    IconButton {
        id: closeButton

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingXS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.readable(banner.tint)
        symbol: "xmark"
        text: "关闭提示"
        onClicked: banner.dismissed()
    }
}
