import QtQuick

/// One fact about a piece of software; left out while it has no value.
Item {
    id: row

    required property string label
    required property string value
    property bool isLink: false

    implicitHeight: Theme.rowHeight
    visible: value !== ""

    Label {
        id: labelText

        x: Theme.spacingM
        width: 72
        height: parent.height
        color: Theme.secondaryText
        text: row.label
    }
    Label {
        anchors.left: labelText.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        height: parent.height
        text: row.value
        visible: !row.isLink
    }
    LinkLabel {
        anchors.left: labelText.right
        anchors.leftMargin: Theme.spacingS
        width: Math.min(implicitWidth, row.width - x - Theme.spacingM)
        height: parent.height
        address: row.isLink ? row.value : ""
        visible: row.isLink
    }
    Separator {
        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingM
        anchors.right: parent.right
        visible: row.y + row.height < row.parent.height
    }
}
