import QtQuick

/// The product's mark: a rounded square with a shadow that reaches beyond it.
Item {
    id: logo

    readonly property int shadowReach: 10

    implicitWidth: 88
    implicitHeight: 88

    Image {
        anchors.fill: parent
        anchors.margins: -logo.shadowReach
        source: "logo.svg"
        sourceSize: Qt.size(width, height)
        Accessible.ignored: true
    }
    Label {
        anchors.centerIn: parent
        color: Theme.accentedText
        font.bold: true
        font.pixelSize: 36
        text: "AI"
    }
}
