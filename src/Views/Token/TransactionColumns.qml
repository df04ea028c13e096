import QtQuick

/// The texts of one line of the history, its headings included, each in its column.
Item {
    id: columns

    required property string timeText
    required property string typeText
    required property string amountText
    required property string balanceText
    required property string descriptionText
    property color color: Theme.text
    property color amountColor: color
    /// Before the type; none when transparent.
    property color dotColor: "transparent"
    property bool isAmountBold: false
    readonly property real figureWidth: Math.max(88, Math.min(120, width * 0.14))

    Label {
        id: timeLabel

        x: Theme.spacingM
        width: 124
        height: parent.height
        color: columns.color
        text: columns.timeText
    }
    Rectangle {
        anchors.left: timeLabel.right
        anchors.leftMargin: Theme.spacingM
        anchors.verticalCenter: parent.verticalCenter
        width: 8
        height: 8
        color: columns.dotColor
        radius: 4
        visible: color.a > 0
    }
    Label {
        id: typeLabel

        anchors.left: timeLabel.right
        anchors.leftMargin: Theme.spacingM + Theme.spacingL
        width: 72
        height: parent.height
        color: columns.color
        text: columns.typeText
    }
    Label {
        id: amountLabel

        anchors.left: typeLabel.right
        width: columns.figureWidth
        height: parent.height
        color: columns.amountColor
        font.bold: columns.isAmountBold
        horizontalAlignment: Text.AlignRight
        text: columns.amountText
    }
    Label {
        id: balanceLabel

        anchors.left: amountLabel.right
        anchors.leftMargin: Theme.spacingM
        width: columns.figureWidth
        height: parent.height
        color: columns.color
        horizontalAlignment: Text.AlignRight
        text: columns.balanceText
    }
    Label {
        anchors.left: balanceLabel.right
        anchors.leftMargin: Theme.spacingXXL
        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingM
        height: parent.height
        color: columns.color
        text: columns.descriptionText
    }
}
