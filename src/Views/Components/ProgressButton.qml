import QtQuick

/// A button whose text gives way to a spinner while what it began is under way; it cannot be pressed then.
PushButton {
    id: button

    property bool isBusy: false

    enabled: !isBusy
    opacity: enabled || isBusy ? 1 : Theme.disabledOpacity

    contentItem.visible: !isBusy

    Spinner {
        anchors.centerIn: parent
        color: button.foreground
        size: Theme.smallIcon
        visible: button.isBusy
    }
}
