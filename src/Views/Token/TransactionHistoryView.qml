import QtQuick
import QtQuick.Templates as T
import Vaelix

/// The account's history as a table.
Item {
    id: history

    required property TokenViewModel viewModel
    required property real contentWidth

    Label {
        id: heading

        height: Theme.controlHeight
        font.pixelSize: Theme.title3
        font.weight: Font.DemiBold
        text: "交易记录"
        Accessible.name: text
        Accessible.role: Accessible.Heading
    }
    Rectangle {
        id: table

        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.spacingXL
        anchors.top: heading.bottom
        anchors.topMargin: Theme.spacingS
        width: history.contentWidth
        border.color: Theme.separator
        color: Theme.card
        radius: Theme.paneRadius

        TransactionColumns {
            id: titles

            anchors.left: parent.left
            anchors.right: parent.right
            height: Theme.rowHeight
            amountText: "数量"
            balanceText: "余额"
            color: Theme.secondaryText
            descriptionText: "说明"
            timeText: "时间"
            typeText: "类型"
            visible: rows.visible
        }
        Separator {
            anchors.top: titles.bottom
            width: parent.width
            visible: rows.visible
        }
        ListView {
            id: rows

            anchors.bottom: parent.bottom
            anchors.bottomMargin: 1
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: titles.bottom
            anchors.topMargin: 1
            activeFocusOnTab: true
            boundsBehavior: Flickable.StopAtBounds
            clip: true
            keyNavigationEnabled: false
            model: history.viewModel.transactions
            reuseItems: true
            visible: count > 0
            Accessible.name: "交易记录"
            Accessible.role: Accessible.List
            Keys.onDownPressed: scroll(Theme.rowHeight)
            Keys.onUpPressed: scroll(-Theme.rowHeight)
            Keys.onPressed: event => {
                const distances = { [Qt.Key_PageDown]: height, [Qt.Key_PageUp]: -height, [Qt.Key_End]: contentHeight, [Qt.Key_Home]: -contentHeight };
                event.accepted = event.key in distances;
                if (event.accepted)
                    scroll(distances[event.key]);
            }

            T.ScrollBar.vertical: ScrollIndicator {}

            function scroll(distance: real) {
                contentY = originY + Math.max(0, Math.min(contentHeight - height, contentY - originY + distance));
            }

            delegate: TransactionRow {
                width: rows.width
            }
        }
        FocusRing {
            anchors.margins: 0
            control: table
            controlRadius: table.radius - thickness
            visible: rows.activeFocus
        }
    }
    EmptyPlaceholder {
        anchors.fill: table
        description: "还没有任何交易记录"
        systemImage: "doc.text"
        title: "暂无记录"
        visible: !rows.visible && !loading.visible
    }
    Column {
        id: loading

        anchors.centerIn: table
        spacing: Theme.spacingM
        visible: !rows.visible && history.viewModel.isLoading

        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            size: Theme.spacingXXL
        }
        Label {
            color: Theme.secondaryText
            text: "正在加载交易记录..."
        }
    }
}
