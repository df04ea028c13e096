import QtQuick

/// A figure of the dashboard.
Item {
    id: card

    required property string title
    required property string value
    required property string icon
    required property color color

    implicitHeight: 96
    Accessible.name: title + "，" + value
    Accessible.role: Accessible.StaticText

    Rectangle {
        anchors.fill: parent
        border.color: Theme.separator
        color: Theme.card
        radius: Theme.cardRadius
    }
    SymbolImage {
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        y: Theme.spacingM
        color: card.color
        size: Theme.spacingXL
        symbol: card.icon
    }
    Label {
        x: Theme.spacingM
        y: Theme.spacingM + Theme.spacingXS
        width: parent.width - 2 * x - Theme.spacingXXL
        height: 40
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        text: card.value
    }
    Label {
        x: Theme.spacingM
        width: parent.width - 2 * x
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingM
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        text: card.title
    }
}
