pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// A bar for each day, with its date and its exact count.
Rectangle {
    id: chart

    required property DashboardUsageModel usage
    required property bool isLoading

    implicitHeight: usage.isEmpty && !isLoading ? 100 : 200
    border.color: Theme.separator
    color: usage.isEmpty ? Theme.control : Theme.card
    radius: Theme.cardRadius

    Row {
        id: days

        readonly property real columnWidth: Math.min(120, width / Math.max(1, bars.count))

        anchors.fill: parent
        anchors.leftMargin: Theme.spacingM
        anchors.rightMargin: Theme.spacingM
        leftPadding: (width - bars.count * columnWidth) / 2

        Repeater {
            id: bars

            model: chart.usage

            UsageBar {
                width: days.columnWidth
                height: days.height
            }
        }
    }
    Label {
        anchors.centerIn: parent
        color: Theme.secondaryText
        text: "暂无用量数据"
        visible: chart.usage.isEmpty && !chart.isLoading
    }
    Spinner {
        anchors.centerIn: parent
        visible: chart.usage.isEmpty && chart.isLoading
    }
}
