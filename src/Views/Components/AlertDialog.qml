import QtQuick
import QtQuick.Templates as T

/// A question or notice over the dimmed window. Return answers with the focused button: the
/// confirming one at first, or the cancelling one where confirming destroys something. Esc cancels,
/// and answers a notice that has one button only.
ModalPopup {
    id: dialog

    required property string title
    required property string message
    required property string confirmText
    /// None for a notice.
    property string cancelText
    property bool destructive: false
    signal confirmed

    width: message.length > 100 ? 420 : 340
    height: implicitContentHeight + 2 * padding
    padding: Theme.spacingXL
    rise: 1 / 2.4
    closePolicy: T.Popup.NoAutoClose

    onOpened: (contentItem as AlertContent).focusDefaultButton()

    function confirm() {
        close();
        confirmed();
    }

    contentItem: AlertContent {
        cancelText: dialog.cancelText
        confirmText: dialog.confirmText
        destructive: dialog.destructive
        focus: true
        message: dialog.message
        title: dialog.title
        onCancelled: dialog.close()
        onConfirmed: dialog.confirm()
    }
}
