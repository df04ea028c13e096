import QtQuick
import Vaelix

/// Edits where OpenClaw listens and which model it loads. What is typed counts at once; only saving
/// writes it down.
Sheet {
    id: openClawConfigView

    required property SoftwareListViewModel viewModel

    hasCloseButton: false
    preferredWidth: 400
    preferredHeight: 300
    symbol: "gear"
    title: "OpenClaw 配置"
    onAboutToShow: port.text = viewModel.openClawPortText

    Column {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingS

        Label {
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: "网络"
        }
        Item {
            width: parent.width
            height: port.height

            Label {
                anchors.verticalCenter: parent.verticalCenter
                text: "监听端口"
            }
            TextField {
                id: port

                anchors.right: parent.right
                width: 80
                focus: true
                horizontalAlignment: TextInput.AlignRight
                inputMethodHints: Qt.ImhDigitsOnly
                placeholderText: "8080"
                Accessible.name: "监听端口"
                onAccepted: openClawConfigView.viewModel.saveOpenClawConfig()
                onTextEdited: openClawConfigView.viewModel.openClawPortText = text
            }
        }
        Item {
            width: 1
            height: Theme.spacingXS
        }
        Label {
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: "模型"
        }
        Item {
            width: parent.width
            height: modelPath.height

            Label {
                anchors.verticalCenter: parent.verticalCenter
                text: "模型路径"
            }
            TextField {
                id: modelPath

                anchors.right: parent.right
                placeholderText: "/path/to/model"
                text: openClawConfigView.viewModel.openClawModelPath
                Accessible.name: "模型路径"
                onAccepted: openClawConfigView.viewModel.saveOpenClawConfig()
                onTextEdited: openClawConfigView.viewModel.openClawModelPath = text
            }
        }
        Item {
            width: 1
            height: Theme.spacingXS
        }
        Label {
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: "配置文件：~/.openclaw/config.json"
        }
    }
    Separator {
        anchors.bottom: buttons.top
        anchors.bottomMargin: Theme.spacingM
        width: parent.width
    }
    Row {
        id: buttons

        anchors.bottom: parent.bottom
        anchors.margins: Theme.spacingM
        anchors.right: parent.right
        spacing: Theme.spacingS

        PushButton {
            text: "取消"
            onClicked: openClawConfigView.close()
        }
        PushButton {
            prominent: true
            text: "保存"
            onClicked: openClawConfigView.viewModel.saveOpenClawConfig()
        }
    }
}
