import QtQuick

/// A value under its label, and the button that copies it.
Item {
    id: row

    required property string label
    required property string value
    required property string symbol
    required property string help
    signal copyRequested

    implicitHeight: Theme.largeControlHeight + Theme.spacingS

    Label {
        id: labelText

        x: Theme.spacingM
        width: 104
        height: parent.height
        color: Theme.secondaryText
        text: row.label
    }
    Label {
        anchors.left: labelText.right
        anchors.right: button.left
        anchors.rightMargin: Theme.spacingS
        height: parent.height
        font.family: Theme.monospacedFamily
        text: row.value
    }
    IconButton {
        id: button

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: row.symbol === "checkmark" ? Theme.green : Theme.secondaryText
        symbol: row.symbol
        text: row.help
        onClicked: row.copyRequested()
    }
}
