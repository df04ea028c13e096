import QtQuick
import Vaelix

/// What is known about a piece of software.
Column {
    id: information

    required property AISoftware software

    spacing: Theme.spacingS

    Label {
        font.weight: Font.DemiBold
        text: "软件信息"
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }
    Rectangle {
        width: parent.width
        height: rows.height
        border.color: Theme.separator
        color: Theme.card
        radius: Theme.paneRadius

        Column {
            id: rows

            width: parent.width

            InfoRow {
                width: parent.width
                label: "分类"
                value: information.software.categoryName
            }
            InfoRow {
                width: parent.width
                label: "状态"
                value: information.software.statusName
            }
            InfoRow {
                width: parent.width
                label: "本地版本"
                value: information.software.version
            }
            InfoRow {
                width: parent.width
                label: "最新版本"
                value: information.software.latestVersion
            }
            InfoRow {
                width: parent.width
                label: "安装时间"
                value: Qt.formatDateTime(information.software.installedAt, "yyyy-MM-dd HH:mm")
            }
            InfoRow {
                width: parent.width
                label: "依赖"
                value: information.software.dependencies.join(", ")
            }
            InfoRow {
                width: parent.width
                isLink: information.software.hasWebPage
                label: "主页"
                value: information.software.homepageURL
            }
        }
    }
}
