pragma ComponentBehavior: Bound

import QtQuick
import Vaelix

/// The list of software with its search field and category filter.
FocusScope {
    id: pane

    required property SoftwareListViewModel viewModel
    readonly property bool isFiltered: viewModel.searchText !== "" || viewModel.selectedCategory !== -1
    readonly property var categories: [
        { category: -1, title: "全部" },
        { category: SoftwareCategory.Runtime, title: "运行时" },
        { category: SoftwareCategory.Model, title: "模型" },
        { category: SoftwareCategory.Tool, title: "工具" },
        { category: SoftwareCategory.Framework, title: "框架" }
    ]

    function focusSearch() {
        searchField.forceActiveFocus(Qt.ShortcutFocusReason);
        searchField.selectAll();
    }
    function clearFilter() {
        viewModel.searchText = "";
        viewModel.selectedCategory = -1;
    }

    SearchField {
        id: searchField

        anchors.left: parent.left
        anchors.right: refreshButton.left
        anchors.top: parent.top
        anchors.margins: Theme.spacingM
        anchors.rightMargin: Theme.spacingXS
        focus: true
        placeholderText: "搜索软件..."
        text: pane.viewModel.searchText
        onTextChanged: pane.viewModel.searchText = text
        Keys.onDownPressed: list.takeFocus()
    }
    IconButton {
        id: refreshButton

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: searchField.verticalCenter
        enabled: !pane.viewModel.isLoading && !pane.viewModel.isOperating
        symbol: "arrow.clockwise"
        text: "刷新"
        visible: !refreshSpinner.visible
        onClicked: pane.viewModel.loadData()
    }
    Spinner {
        id: refreshSpinner

        anchors.centerIn: refreshButton
        visible: pane.viewModel.isLoading
    }
    Flow {
        id: chips

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: searchField.bottom
        anchors.margins: Theme.spacingM
        spacing: Theme.spacingXS

        Repeater {
            model: pane.categories

            CategoryChip {
                required property var modelData

                isSelected: pane.viewModel.selectedCategory === modelData.category
                text: modelData.title
                onClicked: pane.viewModel.selectedCategory = modelData.category
            }
        }
    }
    Separator {
        id: separator

        anchors.top: chips.bottom
        anchors.topMargin: Theme.spacingM
        width: parent.width
    }
    ErrorBanner {
        id: detectionFailure

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: separator.bottom
        anchors.margins: visible ? Theme.spacingM : 0
        height: visible ? implicitHeight : 0
        message: pane.viewModel.detectionFailure
        visible: message !== ""
    }
    SoftwareList {
        id: list

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: detectionFailure.bottom
        viewModel: pane.viewModel
    }
    EmptyPlaceholder {
        anchors.fill: list
        description: "换个关键词或分类试试"
        systemImage: "magnifyingglass"
        title: "没有找到软件"
        visible: list.count === 0 && pane.isFiltered && !loading.visible

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            y: parent.height / 2 + 80
            text: "清除筛选"
            onClicked: pane.clearFilter()
        }
    }
    Column {
        id: loading

        anchors.centerIn: list
        spacing: Theme.spacingM
        visible: list.count === 0 && pane.viewModel.isLoading && !pane.isFiltered

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            size: 24
        }
        Label {
            color: Theme.secondaryText
            text: "正在加载软件列表..."
        }
    }
}
