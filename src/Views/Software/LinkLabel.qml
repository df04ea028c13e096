import QtQuick
import QtQuick.Templates as T

/// An address that opens in the default browser.
T.AbstractButton {
    id: link

    required property string address

    implicitWidth: label.implicitWidth + mark.width + Theme.spacingXS
    text: address
    Accessible.name: text
    Accessible.role: Accessible.Link
    Keys.onEnterPressed: link.click()
    Keys.onReturnPressed: link.click()
    onClicked: Qt.openUrlExternally(address)

    contentItem: Item {
        Label {
            id: label

            width: Math.min(implicitWidth, parent.width - mark.width - Theme.spacingXS)
            height: parent.height
            color: Theme.accent
            font.underline: link.hovered
            text: link.text
        }
        SymbolImage {
            id: mark

            anchors.left: label.right
            anchors.leftMargin: Theme.spacingXS
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.accent
            size: Theme.smallCaption
            symbol: "arrow.up.right"
        }
    }
    background: Item {
        FocusRing {
            anchors.topMargin: 2
            anchors.bottomMargin: 2
            control: parent
            visible: link.visualFocus
        }
    }

    HoverHandler {
        cursorShape: Qt.PointingHandCursor
    }
    Tooltip {
        text: "在浏览器中打开"
        visible: link.hovered
    }
}
