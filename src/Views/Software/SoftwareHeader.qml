import QtQuick
import Vaelix

/// Icon, name, description, category and status of the selected software.
Item {
    id: header

    required property AISoftware software

    implicitHeight: Math.max(icon.height, texts.height)

    SoftwareIconView {
        id: icon

        iconName: header.software.iconName
        iconURL: header.software.iconURL
        size: Theme.headerIcon
    }
    Column {
        id: texts

        anchors.left: icon.right
        anchors.leftMargin: Theme.spacingL
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: Theme.spacingXS

        Label {
            width: parent.width
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            text: header.software.name
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            maximumLineCount: 2
            text: header.software.softwareDescription
            wrapMode: Text.Wrap
        }
        Row {
            spacing: Theme.spacingM

            CaptionWithSymbol {
                symbol: "tag"
                text: header.software.categoryName
            }
            CaptionWithSymbol {
                color: Theme.readable(StatusStyle.color(header.software.status))
                symbol: StatusStyle.symbol(header.software.status)
                symbolColor: StatusStyle.color(header.software.status)
                text: header.software.statusName
            }
        }
    }
}
