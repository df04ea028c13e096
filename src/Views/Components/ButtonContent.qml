import QtQuick

/// A button's symbol, if it has one, and its text, centred.
Item {
    id: content

    required property string symbol
    required property string text
    required property color color
    required property color symbolColor

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight

    Row {
        id: row

        anchors.centerIn: parent
        height: parent.height
        spacing: Theme.spacingXS + 2

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            color: content.symbolColor
            size: Theme.smallIcon
            symbol: content.symbol
            visible: content.symbol !== ""
        }
        Label {
            anchors.verticalCenter: parent.verticalCenter
            color: content.color
            text: content.text
        }
    }
}
