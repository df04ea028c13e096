import QtQuick
import Vaelix

/// What the commands of a connection say. Characters are half as wide as they are high, so that a code
/// printed as text can be scanned.
Rectangle {
    id: log

    required property TerminalOutput output
    property string placeholder: output.displayText

    color: Theme.faded(Theme.terminal, 0.88)
    radius: Theme.paneRadius
    Accessible.name: "输出"
    Accessible.role: Accessible.Pane

    OutputScroller {
        anchors.fill: parent
        fontSize: Theme.codeCaption
        lineHeight: 14
        output: log.output
        placeholder: log.placeholder
    }
}
