import QtQuick

/// The dashboard's scroll bar, which it loads once there is something to scroll.
ScrollIndicator {
    id: scrollBar

    property Flickable flickable: null

    height: parent?.height ?? 0
    orientation: Qt.Vertical
    position: flickable?.visibleArea.yPosition ?? 0
    size: flickable?.visibleArea.heightRatio ?? 1
    onPositionChanged: if (pressed) flickable.contentY = flickable.originY + position * flickable.contentHeight
}
