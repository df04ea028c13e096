import QtQuick

/// One thing that the product can do.
Row {
    id: feature

    required property string symbol
    required property string text

    height: Theme.icon + Theme.spacingXS
    spacing: Theme.spacingM

    SymbolImage {
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.accent
        symbol: feature.symbol
    }
    Label {
        height: parent.height
        text: feature.text
    }
}
