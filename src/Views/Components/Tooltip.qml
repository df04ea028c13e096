import QtQuick
import QtQuick.Templates as T

/// The hover help of a control.
T.ToolTip {
    id: tooltip

    y: parent ? parent.height + Theme.spacingXS : 0
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    margins: Theme.spacingS
    horizontalPadding: Theme.spacingS
    verticalPadding: Theme.spacingXS
    delay: Theme.tooltipDelay
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    contentItem: Label {
        text: tooltip.text
        font.pixelSize: Theme.caption
    }
    background: Rectangle {
        border.color: Theme.outline
        color: Theme.card
        radius: Theme.controlRadius
    }
}
