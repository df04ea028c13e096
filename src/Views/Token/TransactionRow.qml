import QtQuick
import Vaelix

/// One transaction in the history.
TransactionColumns {
    id: row

    required property int type
    required property int index
    readonly property var dotColors: [Theme.green, Theme.red, Theme.blue, Theme.orange]

    implicitHeight: Theme.rowHeight
    amountColor: Theme.readable(type === TransactionType.Consume ? Theme.red : Theme.green)
    dotColor: dotColors[type]
    isAmountBold: true
    Accessible.name: timeText + "，" + typeText + "，" + amountText + "，" + balanceText + "，" + descriptionText
    Accessible.role: Accessible.ListItem

    Rectangle {
        anchors.fill: parent
        anchors.leftMargin: 1
        anchors.rightMargin: 1
        color: Theme.hovered
        visible: row.index % 2 === 1
        z: -1
    }
}
