import QtQuick
import QtQuick.Templates as T

/// A question or notice over the dimmed window. Return answers with the focused button: the
/// confirming one at first, or the cancelling one where confirming destroys something. Esc cancels,
/// and answers a notice that has one button only.
T.Popup {
    id: dialog

    required property string title
    required property string message
    required property string confirmText
    /// None for a notice.
    property string cancelText
    property bool destructive: false
    /// How far it still is from its place.
    property real slide: 0
    signal confirmed

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) / 2.4 + slide) : 0
    width: message.length > 100 ? 420 : 340
    height: implicitContentHeight + 2 * padding
    padding: Theme.spacingXL
    closePolicy: T.Popup.NoAutoClose
    focus: true
    modal: true

    onOpened: (contentItem as AlertContent).focusDefaultButton()

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
            property: "slide"
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
    contentItem: AlertContent {
        cancelText: dialog.cancelText
        confirmText: dialog.confirmText
        destructive: dialog.destructive
        message: dialog.message
        title: dialog.title
        onCancelled: dialog.close()
        onConfirmed: dialog.confirm()
    }
}
