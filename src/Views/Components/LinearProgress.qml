import QtQuick

/// A bar that fills up from 0 to 1.
Rectangle {
    id: bar

    required property real value
    property color tint: Theme.accent

    implicitHeight: 6
    color: Theme.pressed
    radius: height / 2
    Accessible.name: Math.floor(value * 100) + "%"
    Accessible.role: Accessible.ProgressBar

    Rectangle {
        width: bar.width * Math.max(0, Math.min(1, bar.value))
        height: parent.height
        color: bar.tint
        radius: parent.radius

        Behavior on width {
            NumberAnimation {
                duration: Theme.longMotion
                easing.type: Easing.InOutQuad
            }
        }
    }
}
