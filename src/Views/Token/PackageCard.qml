import QtQuick
import QtQuick.Templates as T
import Vaelix

/// A package on offer.
T.RadioButton {
    id: card

    required property tokenPackage tokenPackage
    required property bool isSelected

    implicitHeight: content.implicitHeight + 2 * Theme.spacingM
    checked: isSelected
    Accessible.description: tokenPackage.packageDescription
    Accessible.name: tokenPackage.name + "，" + tokenPackage.formattedTokenCount + " Token，" + tokenPackage.formattedPrice
    Accessible.role: Accessible.RadioButton
    Keys.onEnterPressed: card.clicked()
    Keys.onReturnPressed: card.clicked()

    background: Rectangle {
        border.color: card.isSelected ? Theme.accent : Theme.outline
        border.width: card.isSelected ? 2 : 1
        color: Theme.card
        radius: Theme.cardRadius

        Rectangle {
            anchors.fill: parent
            color: card.isSelected ? Theme.faded(Theme.accent, 0.1) : card.down ? Theme.pressed : Theme.hovered
            radius: parent.radius
            visible: card.isSelected || card.down || card.hovered
        }
        FocusRing {
            control: parent
            controlRadius: parent.radius
            visible: card.visualFocus
        }
    }
    contentItem: Item {
        Column {
            id: content

            anchors.fill: parent
            anchors.margins: Theme.spacingM
            spacing: Theme.spacingXS

            Item {
                width: parent.width
                height: 22

                Label {
                    height: parent.height
                    width: parent.width - (badge.visible ? badge.width + Theme.spacingXS : 0)
                    font.pixelSize: Theme.title3
                    font.weight: Font.DemiBold
                    text: card.tokenPackage.name
                }
                Rectangle {
                    id: badge

                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    width: badgeText.implicitWidth + 2 * (Theme.spacingXS + 2)
                    height: 18
                    color: Theme.faded(Theme.orange, 0.18)
                    radius: height / 2
                    visible: card.tokenPackage.isPopular

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
                text: card.tokenPackage.formattedTokenCount + " Token"
            }
            Label {
                width: parent.width
                height: 34
                font.pixelSize: Theme.title
                font.weight: Font.DemiBold
                text: card.tokenPackage.formattedPrice
            }
            Item {
                width: parent.width
                height: 16

                Label {
                    height: parent.height
                    width: parent.width - discount.width
                    color: Theme.secondaryText
                    font.pixelSize: Theme.caption
                    text: card.tokenPackage.formattedUnitPrice
                }
                Label {
                    id: discount

                    anchors.right: parent.right
                    height: parent.height
                    color: Theme.readable(Theme.green)
                    font.pixelSize: Theme.caption
                    font.weight: Font.DemiBold
                    text: card.tokenPackage.formattedDiscount
                }
            }
            Label {
                width: parent.width
                height: 32
                color: Theme.secondaryText
                font.pixelSize: Theme.caption
                maximumLineCount: 2
                text: card.tokenPackage.packageDescription
                verticalAlignment: Text.AlignTop
                wrapMode: Text.Wrap
            }
        }
    }
}
