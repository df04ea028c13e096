import QtQuick

/// How far a connection is: a symbol, or a turning wheel, and a headline.
Row {
    id: status

    required property string text
    /// None while it turns.
    required property string symbol
    property color symbolColor: Theme.accent

    height: Theme.rowHeight
    spacing: Theme.spacingS

    Spinner {
        anchors.verticalCenter: parent.verticalCenter
        size: Theme.icon
        visible: status.symbol === ""
    }
    SymbolImage {
        anchors.verticalCenter: parent.verticalCenter
        color: status.symbolColor
        size: Theme.icon
        symbol: status.symbol
        visible: symbol !== ""
    }
    Label {
        anchors.verticalCenter: parent.verticalCenter
        font.weight: Font.DemiBold
        text: status.text
        Accessible.name: text
        Accessible.role: Accessible.AlertMessage
    }
}
