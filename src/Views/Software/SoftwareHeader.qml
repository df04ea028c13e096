import QtQuick
import Vaelix

/// Icon, name, description, category and status of the selected software, and for an agent the way to its
/// own settings.
Item {
    id: header

    required property AISoftware software
    required property SoftwareListViewModel viewModel

    implicitHeight: Math.max(icon.height, texts.height)

    SoftwareIconView {
        id: icon

        iconName: header.software.iconName
        iconURL: header.software.iconURL
        size: Theme.headerIcon
    }
    Column {
        id: texts

        anchors.left: icon.right
        anchors.leftMargin: Theme.spacingL
        anchors.right: settings.visible ? settings.left : parent.right
        anchors.rightMargin: settings.visible ? Theme.spacingL : 0
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.spacingXS

        Label {
            width: parent.width
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            text: header.software.name
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            maximumLineCount: 2
            text: header.software.softwareDescription
            wrapMode: Text.Wrap
        }
        Row {
            spacing: Theme.spacingM

            CaptionWithSymbol {
                symbol: "tag"
                text: header.software.categoryName
            }
            CaptionWithSymbol {
                color: Theme.readable(StatusStyle.color(header.software.status))
                symbol: StatusStyle.symbol(header.software.status)
                symbolColor: StatusStyle.color(header.software.status)
                text: header.software.statusName
            }
        }
    }
    PushButton {
        id: settings

        readonly property bool isOpenClaw: header.software.id === "openclaw"

        anchors.right: parent.right
        enabled: header.software.isUsable
        symbol: isOpenClaw ? "slider.horizontal.3" : "bubble.left.and.bubble.right.fill"
        text: isOpenClaw ? "端口与模型" : "平台接入"
        visible: isOpenClaw || header.software.id === "hermes"
        onClicked: isOpenClaw ? header.viewModel.showOpenClawConfig = true : header.openHermesGateway()
    }

    function openHermesGateway() {
        viewModel.checkHermesConnections();
        viewModel.showHermesGateway = true;
    }
}
