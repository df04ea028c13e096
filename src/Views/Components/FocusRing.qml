import QtQuick

/// Marks the control that the keyboard works on.
Rectangle {
    id: ring

    required property Item control
    property real controlRadius: Theme.controlRadius
    readonly property int thickness: 3

    anchors.fill: control
    anchors.margins: -thickness
    border.color: Theme.focusRing
    border.width: thickness
    color: "transparent"
    radius: controlRadius + thickness
}
