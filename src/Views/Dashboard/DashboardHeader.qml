pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The dashboard above its software cards: the figures and the week's usage.
Column {
    id: header

    required property DashboardViewModel viewModel
    required property bool hasSoftware
    required property bool isLoading

    bottomPadding: Theme.spacingS
    spacing: Theme.spacingL
    topPadding: Theme.spacingXL

    Label {
        height: Theme.largeControlHeight
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        text: "仪表盘"
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }
    Row {
        id: figures

        readonly property real cardWidth: (width - 3 * spacing) / 4

        width: parent.width
        spacing: Theme.spacingM

        StatusCardView {
            width: figures.cardWidth
            color: Theme.blue
            icon: "checkmark.circle.fill"
            title: "已安装软件"
            value: header.viewModel.installedCount
        }
        StatusCardView {
            width: figures.cardWidth
            color: Theme.green
            icon: "play.circle.fill"
            title: "运行中"
            value: header.viewModel.runningCount
        }
        StatusCardView {
            width: figures.cardWidth
            color: Theme.orange
            icon: "bitcoinsign.circle.fill"
            title: "Token 余额"
            value: header.viewModel.tokenBalanceText
        }
        StatusCardView {
            width: figures.cardWidth
            color: Theme.red
            icon: "flame.fill"
            title: "今日消耗"
            value: header.viewModel.usedTodayText
        }
    }
    Label {
        font.pixelSize: Theme.title2
        font.weight: Font.DemiBold
        text: "近 7 天 Token 用量"
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }
    UsageChart {
        width: parent.width
        isLoading: header.isLoading
        usage: header.viewModel.weeklyUsage
    }
    Label {
        font.pixelSize: Theme.title2
        font.weight: Font.DemiBold
        text: "软件状态"
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }
    Label {
        color: Theme.secondaryText
        text: "打开「AI 软件」后，这里会列出各软件的状态"
        visible: !header.hasSoftware
    }
}
