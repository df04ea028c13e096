pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The packages as tiles of one size, in rows as even as they can be.
Grid {
    id: grid

    required property TokenPackageListModel model
    required property string selectedId
    readonly property alias count: tiles.count
    readonly property int most: Math.max(1, Math.floor((width + spacing) / (160 + spacing)))
    readonly property int lines: Math.max(1, Math.ceil(tiles.count / most))
    signal selected(tokenPackage tokenPackage)
    /// A tile between these heights was given the focus.
    signal revealed(real top, real bottom)

    columns: Math.max(1, Math.ceil(tiles.count / lines))
    spacing: Theme.spacingM
    Accessible.name: "套餐"
    Accessible.role: Accessible.List

    Repeater {
        id: tiles

        model: grid.model

        PackageCard {
            width: (grid.width - (grid.columns - 1) * grid.spacing) / grid.columns
            isSelected: grid.selectedId === tokenPackage.id
            onActiveFocusChanged: if (activeFocus) grid.revealed(y, y + height)
            onClicked: grid.selected(tokenPackage)
        }
    }
}
