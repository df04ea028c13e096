import QtQuick
import QtQuick.Templates as T
import Vaelix

/// What an update is: its version, what is new in it, its size.
Item {
    id: details

    required property appVersionInfo version

    component Caption: Label {
        color: Theme.secondaryText
        font.pixelSize: Theme.caption
    }

    Column {
        id: top

        anchors.left: parent.left
        anchors.right: parent.right
        spacing: Theme.spacingXS

        Caption {
            text: "版本号"
        }
        Label {
            width: parent.width
            font.pixelSize: Theme.title3
            text: details.version.version
        }
        Caption {
            text: "构建号: " + details.version.buildNumberText
        }
    }
    Caption {
        id: notesCaption

        anchors.top: top.bottom
        anchors.topMargin: Theme.spacingL
        text: "更新说明"
    }
    Flickable {
        anchors.bottom: bottom.top
        anchors.bottomMargin: Theme.spacingL
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: notesCaption.bottom
        anchors.topMargin: Theme.spacingXS
        activeFocusOnTab: interactive
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: notes.height
        interactive: contentHeight > height
        Keys.onDownPressed: flick(0, -600)
        Keys.onUpPressed: flick(0, 600)

        T.ScrollBar.vertical: ScrollIndicator {}

        Label {
            id: notes

            width: parent.width - Theme.spacingM
            elide: Text.ElideNone
            lineHeight: 1.3
            text: details.version.releaseNotes
            verticalAlignment: Text.AlignTop
            wrapMode: Text.Wrap
            Accessible.name: text
            Accessible.role: Accessible.StaticText
        }
    }
    Row {
        id: bottom

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right

        Column {
            width: parent.width - mandatory.width
            spacing: Theme.spacingXS

            Caption {
                text: "文件大小"
            }
            Label {
                text: details.version.fileSizeText
            }
        }
        CaptionWithSymbol {
            id: mandatory

            anchors.bottom: parent.bottom
            color: Theme.isDark ? Theme.orange : Theme.readable(Theme.orange)
            symbol: "exclamationmark.triangle.fill"
            symbolColor: Theme.orange
            text: "强制更新"
            visible: details.version.isMandatory
        }
    }
}
