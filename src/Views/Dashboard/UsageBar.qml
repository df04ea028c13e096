import QtQuick

/// One day of the usage chart.
Item {
    id: bar

    required property string countText
    required property string dateText
    required property real barHeight

    Accessible.name: dateText + "，" + countText + " Token"
    Accessible.role: Accessible.StaticText

    Label {
        anchors.bottom: column.top
        anchors.bottomMargin: 2
        width: parent.width
        font.pixelSize: Theme.chartCaption
        horizontalAlignment: Text.AlignHCenter
        text: bar.countText
    }
    Rectangle {
        id: column

        anchors.bottom: date.top
        anchors.bottomMargin: Theme.spacingXS
        anchors.horizontalCenter: parent.horizontalCenter
        width: Math.min(40, bar.width * 0.6)
        height: bar.barHeight
        color: Theme.blue
        radius: 3
    }
    Label {
        id: date

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingM
        width: parent.width
        color: Theme.secondaryText
        font.pixelSize: Theme.smallCaption
        horizontalAlignment: Text.AlignHCenter
        text: bar.dateText
    }
}
