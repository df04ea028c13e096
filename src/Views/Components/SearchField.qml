import QtQuick

/// A field with a magnifying glass; Esc and the button at its end empty it.
TextField {
    id: field

    leftPadding: Theme.controlHeight
    rightPadding: Theme.controlHeight

    Accessible.name: placeholderText
    Accessible.searchEdit: true
    Keys.onEscapePressed: event => event.accepted = clearText()

    function clearText(): bool {
        const hadText = text !== "";
        clear();
        return hadText;
    }

    SymbolImage {
        x: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        size: Theme.smallIcon
        symbol: "magnifyingglass"
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
