import QtQuick
import Vaelix

/// What stands on the tile of a package.
Column {
    id: details

    required property tokenPackage tokenPackage

    spacing: Theme.spacingXS

    Item {
        width: parent.width
        height: 22

        Label {
            height: parent.height
            width: parent.width - (badge.visible ? badge.width + Theme.spacingXS : 0)
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            text: details.tokenPackage.name
        }
        Rectangle {
            id: badge

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            width: badgeText.implicitWidth + 2 * (Theme.spacingXS + 2)
            height: 18
            color: Theme.faded(Theme.orange, 0.18)
            radius: height / 2
            visible: details.tokenPackage.isPopular

            Label {
                id: badgeText

                anchors.centerIn: parent
                color: Theme.readable(Theme.orange)
                font.pixelSize: Theme.smallCaption
                text: "热门"
            }
        }
    }
    Label {
        width: parent.width
        color: Theme.secondaryText
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Theme.smallCaption
        text: details.tokenPackage.formattedTokenCount + " Token"
    }
    Label {
        width: parent.width
        height: 34
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        text: details.tokenPackage.formattedPrice
    }
    Item {
        width: parent.width
        height: 16

        Label {
            height: parent.height
            width: parent.width - discount.width
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: details.tokenPackage.formattedUnitPrice
        }
        Label {
            id: discount

            anchors.right: parent.right
            height: parent.height
            color: Theme.readable(Theme.green)
            font.pixelSize: Theme.caption
            font.weight: Font.DemiBold
            text: details.tokenPackage.formattedDiscount
        }
    }
    Label {
        width: parent.width
        height: 32
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
        maximumLineCount: 2
        text: details.tokenPackage.packageDescription
        verticalAlignment: Text.AlignTop
        wrapMode: Text.Wrap
    }
}
