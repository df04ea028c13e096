import QtQuick
import QtQuick.Templates as T

/// A one-line field with a magnifying glass; Esc and the button at its end empty it.
T.TextField {
    id: field

    implicitWidth: 200
    implicitHeight: Theme.controlHeight
    leftPadding: Theme.controlHeight
    rightPadding: Theme.controlHeight
    color: Theme.text
    font.family: Theme.fontFamily
    font.pixelSize: Theme.body
    selectByMouse: true
    selectedTextColor: Theme.accentedText
    selectionColor: Theme.accent
    verticalAlignment: TextInput.AlignVCenter

    Accessible.name: placeholderText
    Accessible.role: Accessible.EditableText
    Accessible.searchEdit: true
    Keys.onEscapePressed: event => event.accepted = clearText()

    function clearText(): bool {
        const hadText = text !== "";
        clear();
        return hadText;
    }

    background: Rectangle {
        border.color: Theme.outline
        color: Theme.control
        radius: Theme.controlRadius

        FocusRing {
            control: parent
            visible: field.activeFocus
        }
    }

    SymbolImage {
        x: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        size: Theme.smallIcon
        symbol: "magnifyingglass"
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
    IconButton {
        anchors.right: parent.right
        activeFocusOnTab: false
        symbol: "xmark.circle.fill"
        text: "清除"
        visible: field.text !== ""
        onClicked: field.clear()
    }
}
