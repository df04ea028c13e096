import QtQuick
import Vaelix

/// What the account has and has used; dashes before that is known.
Rectangle {
    id: card

    /// Null until it was loaded.
    required property TokenBalance balance

    implicitHeight: 92
    radius: Theme.cardRadius
    gradient: Gradient {
        orientation: Gradient.Horizontal

        GradientStop { position: 0; color: Theme.balanceStart }
        GradientStop { position: 1; color: Theme.balanceEnd }
    }

    BalanceFigure {
        x: Theme.spacingXL
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width / 2 - Theme.spacingXL
        label: "Token 余额"
        size: Theme.largeTitle
        value: card.balance?.totalBalanceText ?? "—"
    }
    BalanceFigure {
        x: parent.width / 2
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width / 4 - Theme.spacingS
        label: "今日消耗"
        value: card.balance?.usedTodayText ?? "—"
    }
    BalanceFigure {
        x: parent.width * 3 / 4
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width / 4 - Theme.spacingS
        label: "本月累计"
        value: card.balance?.usedThisMonthText ?? "—"
    }
}
