import QtQuick
import QtQuick.Templates as T

/// A card that slides in over the dimmed window and takes its place until it is answered.
T.Popup {
    id: popup

    /// Where it stands: the share of the free height that is above it.
    property real rise: 1 / 2
    /// How far it still is from its place.
    property real slide: 0

    parent: T.Overlay.overlay
    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: parent ? Math.round((parent.height - height) * rise + slide) : 0
    focus: true
    modal: true

    T.Overlay.modal: Rectangle {
        color: Theme.scrim

        Behavior on opacity {
            NumberAnimation { duration: Theme.shortMotion }
        }
    }
    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: Theme.shortMotion }
        NumberAnimation {
            property: "slide"
            from: -Theme.spacingXXL
            to: 0
            duration: Theme.shortMotion
        }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: Theme.shortMotion }
    }
    background: Rectangle {
        border.color: Theme.outline
        color: Theme.card
        radius: Theme.cardRadius
    }
}
