import QtQuick

/// Presents the product to who is signed out, with the one button that begins the login.
FocusScope {
    id: panel

    signal loginRequested

    Column {
        anchors.centerIn: parent
        anchors.verticalCenterOffset: -Theme.spacingXL
        spacing: Theme.spacingXXL

        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingXS

            Logo {
                anchors.horizontalCenter: parent.horizontalCenter
            }
            Item {
                width: 1
                height: Theme.spacingM
            }
            Label {
                anchors.horizontalCenter: parent.horizontalCenter
                font.bold: true
                font.pixelSize: Theme.productTitle
                text: "Vaelix"
                Accessible.name: text
                Accessible.role: Accessible.Heading
            }
            Label {
                anchors.horizontalCenter: parent.horizontalCenter
                color: Theme.secondaryText
                text: "本地 AI 软件管理平台"
            }
        }
        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingM

            FeatureRow {
                symbol: "cpu"
                text: "管理本地 AI 软件 (Ollama, Qwen, Llama...)"
            }
            FeatureRow {
                symbol: "bolt.fill"
                text: "接入 586 个云端大模型"
            }
            FeatureRow {
                symbol: "chart.bar.fill"
                text: "实时 Token 用量追踪"
            }
        }
        Column {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingS

            PushButton {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 260
                height: Theme.largeControlHeight
                focus: true
                prominent: true
                symbol: "person.crop.circle.badge.checkmark"
                text: "登录 / 注册"
                onClicked: panel.loginRequested()
            }
            Label {
                anchors.horizontalCenter: parent.horizontalCenter
                color: Theme.tertiaryText
                font.pixelSize: Theme.caption
                text: "使用手机号、密码或微信登录"
            }
        }
    }
    Row {
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingXL
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: Theme.spacingXS

        Label {
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: "登录即表示同意"
        }
        Label {
            color: Theme.blue
            font.pixelSize: Theme.caption
            text: "服务条款"
        }
    }
}
