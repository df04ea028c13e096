import QtQuick
import QtQuick.Templates as T

/// A one-line field.
T.TextField {
    id: field

    implicitWidth: 200
    implicitHeight: Theme.controlHeight
    leftPadding: Theme.spacingS
    rightPadding: Theme.spacingS
    color: Theme.text
    font.family: Theme.fontFamily
    font.pixelSize: Theme.body
    selectByMouse: true
    selectedTextColor: Theme.accentedText
    selectionColor: Theme.accent
    verticalAlignment: TextInput.AlignVCenter

    Accessible.role: Accessible.EditableText

    background: Rectangle {
        border.color: Theme.outline
        color: Theme.control
        radius: Theme.controlRadius

        FocusRing {
            control: parent
            visible: field.activeFocus
        }
    }

    Label {
        anchors.fill: parent
        anchors.leftMargin: field.leftPadding
        anchors.rightMargin: field.rightPadding
        color: Theme.secondaryText
        text: field.placeholderText
        visible: field.text === "" && field.preeditText === ""
        Accessible.ignored: true
    }
}
