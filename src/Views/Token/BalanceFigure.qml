import QtQuick

/// One figure of the balance card under its label.
Column {
    id: figure

    required property string label
    required property string value
    property int size: Theme.title2

    spacing: Theme.spacingXS
    Accessible.name: label + "，" + value
    Accessible.role: Accessible.StaticText

    Label {
        width: parent.width
        color: Theme.accentedText
        font.pixelSize: Theme.body
        text: figure.label
    }
    Label {
        width: parent.width
        height: 34
        color: Theme.accentedText
        font.pixelSize: figure.size
        font.weight: Font.DemiBold
        text: figure.value
    }
}
