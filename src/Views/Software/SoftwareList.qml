pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Vaelix

/// The rows of software; the arrow keys move the selection.
ListView {
    id: list

    required property SoftwareListViewModel viewModel

    activeFocusOnTab: true
    bottomMargin: Theme.spacingS
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    currentIndex: -1
    highlightMoveDuration: Theme.shortMotion
    keyNavigationEnabled: false
    leftMargin: Theme.spacingS
    model: viewModel.filteredModel
    topMargin: Theme.spacingS

    Accessible.name: "软件列表"
    Accessible.role: Accessible.List
    T.ScrollBar.vertical: ScrollIndicator {}
    Keys.onDownPressed: select(currentIndex + 1)
    Keys.onUpPressed: select(currentIndex - 1)
    Keys.onPressed: event => {
        event.accepted = event.key === Qt.Key_Home || event.key === Qt.Key_End;
        if (event.accepted)
            select(event.key === Qt.Key_Home ? 0 : count - 1);
    }

    function takeFocus() {
        forceActiveFocus(Qt.TabFocusReason);
        if (currentIndex < 0)
            select(0);
    }
    function select(index: int) {
        currentIndex = Math.max(0, Math.min(index, count - 1));
        if (currentItem)
            viewModel.selectedSoftware = (currentItem as SoftwareRow).software;
    }

    delegate: SoftwareRow {
        id: row

        required property int index

        width: list.width - 2 * Theme.spacingS
        hasListFocus: list.activeFocus
        isSelected: list.viewModel.selectedSoftware === software
        onClicked: {
            list.select(row.index);
            list.forceActiveFocus(Qt.MouseFocusReason);
        }
        onIsSelectedChanged: if (isSelected) list.currentIndex = index
    }
}
