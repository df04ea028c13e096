import QtQuick

/// A symbol by its name, in any colour.
Image {
    id: image

    property string symbol
    property color color: Theme.text
    property int size: Theme.icon

    width: size
    height: size
    source: "image://symbol/" + symbol + "?" + color.toString().slice(1)
    sourceSize: Qt.size(size, size)
    Accessible.ignored: true
}
