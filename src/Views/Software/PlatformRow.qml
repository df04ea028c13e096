import QtQuick

/// A chat platform, and whether it is connected.
Item {
    id: row

    required property string name
    required property string icon
    required property bool connected

    height: Theme.rowHeight + Theme.spacingS
    Accessible.name: name + "，" + (connected ? "已接入" : "未接入")
    Accessible.role: Accessible.ListItem

    SymbolImage {
        id: symbol

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        color: row.connected ? Theme.green : Theme.secondaryText
        size: Theme.spacingXXL
        symbol: row.icon
    }
    Label {
        anchors.left: symbol.right
        anchors.leftMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        text: row.name
    }
    CaptionWithSymbol {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.readable(Theme.green)
        symbol: "checkmark.circle.fill"
        symbolColor: Theme.green
        text: "已接入"
        visible: row.connected
    }
    Label {
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        text: "未接入"
        visible: !row.connected
    }
}
