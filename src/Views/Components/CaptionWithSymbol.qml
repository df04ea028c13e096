import QtQuick

/// A short text in caption size after its symbol.
Row {
    id: caption

    required property string symbol
    required property string text
    property color color: Theme.secondaryText
    property color symbolColor: color

    height: Theme.icon
    spacing: Theme.spacingXS

    SymbolImage {
        anchors.verticalCenter: parent.verticalCenter
        color: caption.symbolColor
        size: Theme.caption
        symbol: caption.symbol
    }
    Label {
        height: parent.height
        color: caption.color
        font.pixelSize: Theme.caption
        text: caption.text
    }
}
