import QtQuick
import QtQuick.Templates as T

/// A menu of MenuRows over the window; Esc and a press beside it close it.
T.Menu {
    id: menu

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: Theme.spacingXS
    margins: Theme.spacingXS
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.shortMotion }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: Theme.shortMotion }
    }
    background: Rectangle {
        border.color: Theme.outline
        color: Theme.card
        radius: Theme.paneRadius
    }
    contentItem: ListView {
        implicitHeight: contentHeight
        currentIndex: menu.currentIndex
        interactive: false
        model: menu.contentModel
    }
}
