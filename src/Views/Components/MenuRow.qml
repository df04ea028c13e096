import QtQuick
import QtQuick.Templates as T
import Vaelix

/// One item of a PopupMenu.
T.MenuItem {
    id: row

    required property string symbol
    property bool destructive: false
    readonly property color foreground: highlighted ? Theme.accentedText : destructive ? Theme.red : Theme.text

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spacingS
    rightPadding: Theme.spacingS
    Accessible.name: text
    ButtonKeys.onPressed: row.clicked()

    contentItem: Row {
        spacing: Theme.spacingS

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            color: row.foreground
            size: Theme.smallIcon
            symbol: row.symbol
        }
        Label {
            height: parent.height
            color: row.foreground
            text: row.text
        }
    }
    background: Rectangle {
        color: row.highlighted ? row.destructive ? Theme.red : Theme.accent : "transparent"
        radius: Theme.controlRadius
    }
}
