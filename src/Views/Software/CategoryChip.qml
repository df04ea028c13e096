import QtQuick
import QtQuick.Templates as T
import Vaelix

/// One choice of the category filter.
T.RadioButton {
    id: chip

    required property bool isSelected

    implicitWidth: implicitContentWidth + 2 * Theme.spacingM - 4
    implicitHeight: 24
    checked: isSelected
    Accessible.name: text
    ButtonKeys.onPressed: chip.clicked()

    contentItem: Label {
        color: chip.isSelected ? Theme.accentedText : Theme.text
        font.pixelSize: Theme.caption
        horizontalAlignment: Text.AlignHCenter
        text: chip.text
    }
    background: Rectangle {
        color: chip.isSelected ? Theme.accent : chip.down || chip.hovered ? Theme.pressed : Theme.hovered
        radius: height / 2

        FocusRing {
            control: parent
            controlRadius: parent.radius
            visible: chip.visualFocus
        }
    }
}
