import QtQuick

/// A field under its label that does not show what is typed.
Column {
    id: passwordField

    required property string label
    required property string placeholder
    property alias text: field.text
    signal accepted

    function takeFocus() {
        field.forceActiveFocus(Qt.TabFocusReason);
    }

    spacing: Theme.spacingXS

    Label {
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        text: passwordField.label
        Accessible.ignored: true
    }
    TextField {
        id: field

        width: parent.width
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhHiddenText | Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
        placeholderText: passwordField.placeholder
        Accessible.name: passwordField.label
        onAccepted: passwordField.accepted()
    }
}
