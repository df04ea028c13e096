pragma ComponentBehavior: Bound

import QtQuick

/// Says that something is under way of which nobody knows how long it takes.
Item {
    id: spinner

    property int size: Theme.icon
    property color color: Theme.secondaryText
    readonly property int spokes: 8
    property int step: 0

    width: size
    height: size
    Accessible.name: "请稍候"
    Accessible.role: Accessible.ProgressBar

    Timer {
        interval: 100
        repeat: true
        running: spinner.visible
        onTriggered: spinner.step = (spinner.step + 1) % spinner.spokes
    }
    Repeater {
        model: spinner.spokes

        Rectangle {
            id: spoke

            required property int index

            x: (spinner.size - width) / 2
            width: Math.max(1.5, spinner.size / 9)
            height: spinner.size * 0.3
            antialiasing: true
            color: spinner.color
            opacity: 1 - 0.8 * ((spinner.step - spoke.index + spinner.spokes) % spinner.spokes) / (spinner.spokes - 1)
            radius: width / 2
            transform: Rotation {
                angle: spoke.index * 360 / spinner.spokes
                origin.x: spinner.size / 2 - (spinner.size - spoke.width) / 2
                origin.y: spinner.size / 2
            }
        }
    }
}
