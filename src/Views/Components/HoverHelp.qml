import QtQuick

/// A tooltip for an item made of plain items, which loads this when it is first hovered.
Item {
    id: help

    required property string text
    property bool isShown: false

    Tooltip {
        text: help.text
        visible: help.isShown
    }
}
