import QtQuick
import QtQuick.Templates as T
import Vaelix

/// A package on offer.
T.RadioButton {
    id: card

    required property tokenPackage tokenPackage
    required property bool isSelected

    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    checked: isSelected
    padding: Theme.spacingM
    Accessible.description: tokenPackage.packageDescription
    Accessible.name: tokenPackage.name + "，" + tokenPackage.formattedTokenCount + " Token，" + tokenPackage.formattedPrice
    Accessible.role: Accessible.RadioButton
    ButtonKeys.onPressed: card.clicked()

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
    contentItem: PackageDetails {
        tokenPackage: card.tokenPackage
    }
}
