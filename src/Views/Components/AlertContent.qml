import QtQuick

/// The texts and buttons of an alert.
FocusScope {
    id: alertContent

    required property string title
    required property string message
    required property string confirmText
    required property string cancelText
    required property bool destructive
    readonly property bool isLong: message.length > 100
    signal confirmed
    signal cancelled

    implicitHeight: content.implicitHeight
    Accessible.description: alertContent.message
    Accessible.name: alertContent.title
    Accessible.role: Accessible.AlertMessage

    /// The one Return answers with at first: never the one that destroys something.
    function focusDefaultButton() {
        (destructive ? cancelButton : confirmButton).forceActiveFocus(Qt.TabFocusReason);
    }

    Keys.onEscapePressed: alertContent.cancelled()

    Column {
        id: content

        width: parent.width
        spacing: Theme.spacingS

        Label {
            width: parent.width
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            text: alertContent.title
            wrapMode: Text.Wrap
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            horizontalAlignment: alertContent.isLong ? Text.AlignLeft : Text.AlignHCenter
            lineHeight: 1.1
            text: alertContent.message
            wrapMode: Text.Wrap
        }
        Item {
            width: 1
            height: Theme.spacingXS
        }
        Row {
            id: buttons

            readonly property int count: cancelButton.visible ? 2 : 1

            width: parent.width
            spacing: Theme.spacingS

            PushButton {
                id: cancelButton

                width: (buttons.width - buttons.spacing) / 2
                focus: alertContent.destructive
                text: alertContent.cancelText
                visible: text !== ""
                onClicked: alertContent.cancelled()
            }
            PushButton {
                id: confirmButton

                width: (buttons.width - buttons.spacing * (buttons.count - 1)) / buttons.count
                destructive: alertContent.destructive
                focus: !alertContent.destructive
                prominent: true
                text: alertContent.confirmText
                onClicked: alertContent.confirmed()
            }
        }
    }
}
