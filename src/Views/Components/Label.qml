import QtQuick

/// A text of the screens: body size, plain, elided where it does not fit.
Text {
    color: Theme.text
    elide: Text.ElideRight
    font.family: Theme.fontFamily
    font.pixelSize: Theme.body
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
}
