import QtQuick

/// What an area shows that has nothing to show.
Item {
    id: placeholder

    required property string title
    required property string systemImage
    required property string description

    Column {
        anchors.centerIn: parent
        width: Math.min(320, parent.width - 2 * Theme.spacingXXL)
        spacing: Theme.spacingS

        SymbolImage {
            anchors.horizontalCenter: parent.horizontalCenter
            color: Theme.tertiaryText
            size: Theme.placeholderIcon
            symbol: placeholder.systemImage
        }
        Item {
            width: 1
            height: Theme.spacingXS
        }
        Label {
            width: parent.width
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            text: placeholder.title
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            horizontalAlignment: Text.AlignHCenter
            text: placeholder.description
            wrapMode: Text.Wrap
        }
    }
}
