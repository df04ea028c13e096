import QtQuick
import Vaelix

/// Stands in for a web page that cannot be shown here: says why, and offers the user's browser for it.
FocusScope {
    id: offer

    readonly property string webEngineIsMissing: "缺少网页组件 Qt WebEngine，请安装后重新打开 Vaelix。"
    required property string title
    /// A sentence. Nothing is shown while it is empty.
    required property string reason
    /// What to expect of the browser.
    required property string hint
    required property string actionText
    required property string copyText
    signal openRequested
    signal copyRequested

    function open(url: url) {
        browser.open(url);
    }

    visible: reason !== ""
    onVisibleChanged: if (visible) openButton.forceActiveFocus()

    Browser {
        id: browser
    }
    Column {
        anchors.centerIn: parent
        width: Math.min(420, parent.width - 2 * Theme.spacingXXL)
        spacing: Theme.spacingM

        SymbolImage {
            anchors.horizontalCenter: parent.horizontalCenter
            color: Theme.tertiaryText
            size: Theme.placeholderIcon
            symbol: "exclamationmark.triangle.fill"
        }
        Label {
            width: parent.width
            font.pixelSize: Theme.title2
            font.weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
            text: offer.title
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            horizontalAlignment: Text.AlignHCenter
            text: offer.reason
            wrapMode: Text.Wrap
            Accessible.name: text
            Accessible.role: Accessible.AlertMessage
        }
        Row {
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: Theme.spacingS

            PushButton {
                id: openButton

                focus: true
                prominent: true
                text: offer.actionText
                onClicked: offer.openRequested()
            }
            PushButton {
                text: offer.copyText
                visible: browser.hasFailed
                onClicked: offer.copyRequested()
            }
        }
        Label {
            width: parent.width
            color: browser.hasFailed ? Theme.red : Theme.secondaryText
            font.pixelSize: Theme.caption
            horizontalAlignment: Text.AlignHCenter
            text: browser.hasFailed ? "没有找到浏览器，请复制地址，在任意浏览器中打开。" : offer.hint
            wrapMode: Text.Wrap
        }
    }
}
