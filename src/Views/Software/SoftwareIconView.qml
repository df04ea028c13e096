import QtQuick
import Vaelix

/// The icon of a piece of software: its remote image, or its symbol until and unless that is there.
Item {
    id: icon

    required property string iconURL
    required property string iconName
    property int size: Theme.listIcon
    readonly property bool isLoaded: image.status === Image.Ready

    width: size
    height: size
    Accessible.ignored: true

    Rectangle {
        anchors.fill: parent
        color: Theme.faded(Theme.accent, Theme.isDark ? 0.22 : 0.12)
        radius: icon.size / 4.5
        visible: !icon.isLoaded

        SymbolImage {
            anchors.centerIn: parent
            color: Theme.accent
            size: icon.size / 2
            symbol: icon.iconName
        }
    }
    Image {
        id: image

        anchors.fill: parent
        asynchronous: true
        fillMode: Image.PreserveAspectFit
        mipmap: true
        source: IconAddress.resolve(icon.iconURL)
        sourceSize: Qt.size(2 * icon.size, 2 * icon.size)
        visible: icon.isLoaded
    }
}
