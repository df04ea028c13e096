import QtQuick
import Vaelix

/// An address that opens in the default browser.
Item {
    id: link

    required property string address

    implicitWidth: label.implicitWidth + mark.width + Theme.spacingXS
    activeFocusOnTab: true
    Accessible.focusable: true
    Accessible.name: address
    Accessible.role: Accessible.Link
    Accessible.onPressAction: open()
    ButtonKeys.onPressed: open()

    function open() {
        Qt.openUrlExternally(address);
    }

    FocusRing {
        anchors.bottomMargin: 2
        anchors.topMargin: 2
        control: parent
        visible: link.activeFocus
    }
    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onSingleTapped: link.open()
    }
    Label {
        id: label

        width: Math.min(implicitWidth, parent.width - mark.width - Theme.spacingXS)
        height: parent.height
        color: Theme.accent
        font.underline: hover.hovered
        text: link.address
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
    Tooltip {
        text: "在浏览器中打开"
        visible: hover.hovered
    }
}
