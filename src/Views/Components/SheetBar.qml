import QtQuick

/// The bar at the top of a sheet: its title, and the button that closes it.
Item {
    id: bar

    required property string title
    required property string symbol
    required property bool hasCloseButton
    required property bool closesAtEnd
    signal closeRequested

    BackButton {
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        text: "关闭"
        visible: bar.hasCloseButton && !bar.closesAtEnd
        onClicked: bar.closeRequested()
    }
    Row {
        anchors.centerIn: parent
        spacing: Theme.spacingS

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.text
            size: Theme.icon
            symbol: bar.symbol
            visible: bar.symbol !== ""
        }
        Label {
            anchors.verticalCenter: parent.verticalCenter
            font.weight: Font.DemiBold
            text: bar.title
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
    }
    IconButton {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        symbol: "xmark.circle.fill"
        text: "关闭"
        visible: bar.hasCloseButton && bar.closesAtEnd
        onClicked: bar.closeRequested()
    }
    Separator {
        anchors.bottom: parent.bottom
        width: parent.width
    }
}
