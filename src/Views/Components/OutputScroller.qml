import QtQuick
import QtQuick.Templates as T
import Vaelix

/// The output of commands in a terminal's type. It follows the end of the output, unless the reader has
/// scrolled away from it.
Item {
    id: pane

    required property TerminalOutput output
    /// Shown while there is none.
    property string placeholder: output.displayText
    property int fontSize: Theme.body
    /// Twice the width of a character, so that a code printed as text is square.
    property int lineHeight: 16

    Flickable {
        id: scroller

        readonly property real end: Math.max(0, contentHeight - height)
        /// The newest lines are kept in view.
        property bool followsEnd: true

        anchors.fill: parent
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        contentHeight: text.height
        contentWidth: width

        T.ScrollBar.vertical: ScrollIndicator {
            color: "white"
            onPressedChanged: scroller.followsEnd = scroller.contentY >= scroller.end - 1
        }
        onEndChanged: if (followsEnd) scrollToEnd()
        onMovementEnded: followsEnd = contentY >= end - 1
        onMovementStarted: {
            followAnimation.stop();
            followsEnd = false;
        }

        /// Glides over what fits into the view; further away, or while more comes than a glide takes,
        /// it jumps.
        function scrollToEnd() {
            if (followAnimation.running || end - contentY > height) {
                followAnimation.stop();
                contentY = end;
            } else {
                followAnimation.to = end;
                followAnimation.start();
            }
        }

        NumberAnimation {
            id: followAnimation

            target: scroller
            property: "contentY"
            duration: Theme.shortMotion
            easing.type: Easing.OutQuad
        }
        TextEdit {
            id: text

            width: scroller.width
            activeFocusOnTab: true
            color: Theme.terminalText
            font.family: Theme.monospacedFamily
            font.hintingPreference: Font.PreferFullHinting
            font.pixelSize: pane.fontSize
            padding: Theme.spacingM
            readOnly: true
            selectByMouse: true
            selectedTextColor: Theme.terminal
            selectionColor: Theme.terminalText
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.WrapAnywhere
            Accessible.name: "输出"
            Accessible.role: Accessible.StaticText
        }
    }
    TerminalDocument {
        lineHeight: pane.lineHeight
        text: pane.output.isEmpty ? pane.placeholder : pane.output.displayText
        textDocument: text.textDocument
        onUpdated: removedHeight => {
            if (!scroller.followsEnd)
                scroller.contentY = Math.max(0, scroller.contentY - removedHeight);
        }
    }
    IconButton {
        anchors.bottom: parent.bottom
        anchors.right: parent.right
        anchors.margins: Theme.spacingM
        color: "white"
        symbol: "arrow.down"
        text: "回到最新输出"
        visible: !scroller.followsEnd
        onClicked: {
            scroller.followsEnd = true;
            scroller.scrollToEnd();
        }
    }
}
