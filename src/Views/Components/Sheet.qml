import QtQuick
import QtQuick.Templates as T

/// A screen of its own over the dimmed window, under a bar with its title. It takes the room it asks for
/// as far as the window has it. Esc closes it, and so does the bar's button.
ModalPopup {
    id: sheet

    required property string title
    property string symbol
    property real preferredWidth: 500
    property real preferredHeight: 400
    /// Has the button that closes it in its bar; else it has buttons of its own.
    property bool hasCloseButton: true
    /// That button is a cross at the bar's end.
    property bool closesAtEnd: false

    width: parent ? Math.min(preferredWidth, parent.width - 2 * Theme.spacingXXL) : preferredWidth
    height: parent ? Math.min(preferredHeight, parent.height - 2 * Theme.spacingXXL) : preferredHeight
    padding: 1
    topPadding: Theme.rowHeight + Theme.spacingM
    closePolicy: T.Popup.CloseOnEscape

    SheetBar {
        y: -height
        width: parent.width
        height: sheet.topPadding
        closesAtEnd: sheet.closesAtEnd
        hasCloseButton: sheet.hasCloseButton
        symbol: sheet.symbol
        title: sheet.title
        onCloseRequested: sheet.close()
    }
}
