import QtQuick
import QtQuick.Templates as T
import Vaelix

/// Offers a new build of the application, and shows how far its download and installation have come.
ModalPopup {
    id: prompt

    required property UpdateViewModel viewModel
    /// What it was opened for; it shows this until it has faded, when there is no offer any more.
    required property appVersionInfo version
    readonly property bool isIdle: !viewModel.isDownloading && !viewModel.isInstalling
    readonly property bool canWait: isIdle && !version.isMandatory

    width: 500
    height: 500
    padding: 1
    closePolicy: canWait ? T.Popup.CloseOnEscape : T.Popup.NoAutoClose

    Item {
        id: header

        width: parent.width
        height: Theme.headerIcon

        Row {
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingXL
            anchors.verticalCenter: parent.verticalCenter
            spacing: Theme.spacingM

            SymbolImage {
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.blue
                size: Theme.largeTitle
                symbol: "arrow.down.circle.fill"
            }
            Label {
                anchors.verticalCenter: parent.verticalCenter
                font.pixelSize: Theme.title2
                font.weight: Font.DemiBold
                text: "发现新版本"
                Accessible.name: text
                Accessible.role: Accessible.Heading
            }
        }
        BorderlessButton {
            anchors.right: parent.right
            anchors.rightMargin: Theme.spacingM
            anchors.verticalCenter: parent.verticalCenter
            text: "稍后提醒"
            visible: prompt.canWait
            onClicked: prompt.close()
        }
        Separator {
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }
    UpdateDetails {
        anchors.bottom: action.top
        anchors.left: parent.left
        anchors.margins: Theme.spacingXL
        anchors.right: parent.right
        anchors.top: header.bottom
        version: prompt.version
    }
    UpdatePromptAction {
        id: action

        anchors.bottom: parent.bottom
        width: parent.width
        viewModel: prompt.viewModel
    }
}
