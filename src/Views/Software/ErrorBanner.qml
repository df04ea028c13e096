import QtQuick

/// Says why the last operation failed.
Rectangle {
    id: banner

    required property string message

    implicitHeight: text.implicitHeight + 2 * Theme.spacingM
    color: Theme.faded(Theme.red, 0.1)
    radius: Theme.paneRadius
    Accessible.name: message
    Accessible.role: Accessible.AlertMessage

    SymbolImage {
        id: symbolImage

        x: Theme.spacingM
        y: Theme.spacingM + 2
        color: Theme.yellow
        symbol: "exclamationmark.triangle.fill"
    }
    Label {
        id: text

        anchors.left: symbolImage.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.red
        text: banner.message
        wrapMode: Text.Wrap
    }
}
