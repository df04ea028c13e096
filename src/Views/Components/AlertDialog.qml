import QtQuick
import QtQuick.Templates as T

/// A question or notice over the dimmed window. Return answers with the focused button: the
/// confirming one at first, or the cancelling one where confirming destroys something. Esc cancels,
/// and answers a notice that has one button only.
T.Popup {
    id: alert

    required property string title
    required property string message
    required property string confirmText
    /// None for a notice.
    property string cancelText
    property bool destructive: false
    signal confirmed

    readonly property Item defaultButton: destructive ? cancelButton : confirmButton

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) / 2.4) : 0
    width: message.length > 100 ? 420 : 340
    height: implicitContentHeight + 2 * padding
    padding: Theme.spacingXL
    closePolicy: T.Popup.NoAutoClose
    focus: true
    modal: true

    onOpened: defaultButton.forceActiveFocus(Qt.TabFocusReason)

    function confirm() {
        close();
        confirmed();
    }

    T.Overlay.modal: Rectangle {
        color: Theme.scrim

        Behavior on opacity {
            NumberAnimation { duration: Theme.shortMotion }
        }
    }
    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.shortMotion }
        NumberAnimation {
            property: "topMargin"
            from: -Theme.spacingXXL
            to: 0
            duration: Theme.shortMotion
        }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: Theme.shortMotion }
    }
    background: Rectangle {
        border.color: Theme.outline
        color: Theme.card
        radius: Theme.cardRadius
    }
    contentItem: FocusScope {
        implicitHeight: content.implicitHeight
        Accessible.description: alert.message
        Accessible.name: alert.title
        Accessible.role: Accessible.AlertMessage
        Keys.onEscapePressed: alert.close()

        Column {
            id: content

            width: parent.width
            spacing: Theme.spacingS

            Label {
                width: parent.width
                font.pixelSize: Theme.title3
                font.weight: Font.DemiBold
                horizontalAlignment: Text.AlignHCenter
                text: alert.title
                wrapMode: Text.Wrap
            }
            Label {
                width: parent.width
                color: Theme.secondaryText
                horizontalAlignment: alert.message.length > 100 ? Text.AlignLeft : Text.AlignHCenter
                lineHeight: 1.1
                text: alert.message
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
                    text: alert.cancelText
                    visible: text !== ""
                    onClicked: alert.close()
                }
                PushButton {
                    id: confirmButton

                    width: (buttons.width - buttons.spacing * (buttons.count - 1)) / buttons.count
                    destructive: alert.destructive
                    prominent: true
                    text: alert.confirmText
                    onClicked: alert.confirm()
                }
            }
        }
    }
}
