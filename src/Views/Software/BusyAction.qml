import QtQuick

/// An operation under way and the button that cancels it.
Row {
    id: action

    required property string text
    required property string cancelText
    signal cancelled

    spacing: Theme.spacingS

    Spinner {
        anchors.verticalCenter: parent.verticalCenter
    }
    Label {
        height: Theme.controlHeight
        color: Theme.secondaryText
        text: action.text
    }
    PushButton {
        symbol: "xmark.circle"
        text: action.cancelText
        onClicked: action.cancelled()
    }
}
