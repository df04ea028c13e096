import QtQuick

/// A bar that fills up from 0 to 1.
Rectangle {
    id: bar

    required property real value
    property color tint: Theme.accent
    /// What is drawn of the value. The width follows a resized window at once.
    property real shown: Math.max(0, Math.min(1, value))

    implicitHeight: 6
    color: Theme.pressed
    radius: height / 2
    Accessible.name: Math.floor(value * 100) + "%"
    Accessible.role: Accessible.ProgressBar

    Behavior on shown {
        NumberAnimation {
            duration: Theme.longMotion
            easing.type: Easing.InOutQuad
        }
    }
    Rectangle {
        width: bar.width * bar.shown
        height: parent.height
        color: bar.tint
        radius: parent.radius
    }
}
