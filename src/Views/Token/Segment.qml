import QtQuick
import QtQuick.Templates as T
import Vaelix

/// One of the choices of a SegmentedPicker.
T.RadioButton {
    id: segment

    required property bool isSelected

    implicitWidth: Math.max(120, implicitContentWidth + 2 * Theme.spacingL)
    checked: isSelected
    Accessible.name: text
    Accessible.role: Accessible.RadioButton
    ButtonKeys.onPressed: segment.clicked()

    contentItem: Label {
        color: segment.isSelected ? Theme.text : Theme.secondaryText
        font.weight: segment.isSelected ? Font.DemiBold : Font.Normal
        horizontalAlignment: Text.AlignHCenter
        text: segment.text
    }
    background: Rectangle {
        border.color: segment.isSelected ? Theme.outline : "transparent"
        color: segment.isSelected ? Theme.segment : segment.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius

        FocusRing {
            control: parent
            visible: segment.visualFocus
        }
    }
}
