import QtQuick
import Vaelix

/// What can be done about an update, or how far it has come. Always of the same height.
Item {
    id: action

    required property UpdateViewModel viewModel
    readonly property bool isDownloading: viewModel.isDownloading && !viewModel.isInstalling
    readonly property bool isIdle: !viewModel.isDownloading && !viewModel.isInstalling

    height: 104

    Separator {
        width: parent.width
    }
    Item {
        anchors.fill: parent
        anchors.margins: Theme.spacingXL

        PushButton {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            height: Theme.largeControlHeight
            focus: true
            font.weight: Font.DemiBold
            prominent: true
            text: "下载更新"
            visible: action.isIdle && action.viewModel.obstacle === ""
            onClicked: action.viewModel.startDownload()
        }
        Column {
            anchors.centerIn: parent
            width: parent.width
            spacing: Theme.spacingS
            visible: action.isIdle && action.viewModel.obstacle !== ""

            Label {
                width: parent.width
                color: Theme.secondaryText
                elide: Text.ElideMiddle
                horizontalAlignment: Text.AlignHCenter
                maximumLineCount: 2
                text: action.viewModel.obstacle
                wrapMode: Text.WrapAnywhere
                Accessible.name: text
                Accessible.role: Accessible.StaticText
            }
            PushButton {
                anchors.horizontalCenter: parent.horizontalCenter
                text: "退出 Vaelix"
                visible: action.viewModel.availableUpdate.isMandatory
                onClicked: Qt.quit()
            }
        }
        Column {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            spacing: Theme.spacingS
            visible: action.isDownloading

            LinearProgress {
                width: parent.width
                value: action.viewModel.downloadProgress
            }
            Item {
                width: parent.width
                height: Theme.controlHeight

                Label {
                    height: parent.height
                    color: Theme.secondaryText
                    font.pixelSize: Theme.caption
                    text: "下载中... " + Math.floor(action.viewModel.downloadProgress * 100) + "%"
                }
                BorderlessButton {
                    anchors.right: parent.right
                    anchors.rightMargin: -Theme.spacingS // its text ends with the bar
                    text: "取消下载"
                    onClicked: action.viewModel.cancelDownload()
                }
            }
        }
        Column {
            anchors.centerIn: parent
            spacing: Theme.spacingS
            visible: action.viewModel.isInstalling

            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: Theme.spacingS

                Spinner {
                    anchors.verticalCenter: parent.verticalCenter
                }
                Label {
                    font.weight: Font.DemiBold
                    text: "正在安装更新，请稍候..."
                }
            }
            Label {
                anchors.horizontalCenter: parent.horizontalCenter
                color: Theme.secondaryText
                font.pixelSize: Theme.caption
                text: action.viewModel.installStep === "" ? "安装完成后应用将自动重启" : action.viewModel.installStep
            }
        }
    }
}
