import QtQuick
import QtQuick.Templates as T
import Vaelix

/// Everything about the selected software: what it is, what can be done with it, what is happening.
Flickable {
    id: detail

    required property AISoftware software
    required property SoftwareListViewModel viewModel

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    contentHeight: content.height + 2 * Theme.spacingXXL
    contentWidth: width

    /// The terminal pane has appeared and is to be brought into view.
    property bool revealsTerminal: false

    T.ScrollBar.vertical: ScrollIndicator {}
    onContentHeightChanged: if (revealsTerminal) {
        revealsTerminal = false;
        revealAnimation.restart();
    }
    onSoftwareChanged: {
        contentY = 0;
        refreshAgent();
    }
    onVisibleChanged: refreshAgent()
    Component.onCompleted: refreshAgent()

    /// What the agents are connected to stands in their files, which change behind our back.
    function refreshAgent() {
        if (!visible || (software.id !== "openclaw" && software.id !== "hermes"))
            return;
        viewModel.checkQQBotConnection();
        viewModel.checkWeChatConnection();
        viewModel.checkApprovalsStatus();
    }

    AgentSheets {
        id: agentSheets

        viewModel: detail.viewModel
    }
    SoftwareAlerts {
        id: softwareAlerts

        sheets: agentSheets
        software: detail.software
        viewModel: detail.viewModel
    }
    Column {
        id: content

        x: Theme.spacingXXL
        y: Theme.spacingXXL
        width: Math.min(detail.width - 2 * Theme.spacingXXL, 860)
        spacing: Theme.spacingL

        SoftwareHeader {
            width: parent.width
            software: detail.software
            viewModel: detail.viewModel
        }
        Separator {
            width: parent.width
        }
        SoftwareActions {
            width: parent.width
            alerts: softwareAlerts
            sheets: agentSheets
            software: detail.software
            viewModel: detail.viewModel
        }
        ErrorBanner {
            width: parent.width
            message: detail.viewModel.errorMessage
            visible: message !== ""
        }
        SoftwareInformation {
            id: information

            width: parent.width
            software: detail.software
        }
        TerminalOutputView {
            id: terminal

            readonly property real room: detail.height - 2 * Theme.spacingXXL - information.y - information.height - content.spacing

            width: parent.width
            height: Math.max(200, Math.min(400, room))
            output: detail.viewModel.terminalOutput
            title: detail.software.name
            visible: !output.isEmpty || detail.viewModel.isOperating
            onVisibleChanged: detail.revealsTerminal = visible
        }
    }

    /// A pane that appears below the window's edge would look as if nothing happened.
    NumberAnimation {
        id: revealAnimation

        target: detail
        property: "contentY"
        to: Math.max(0, detail.contentHeight - detail.height)
        duration: Theme.longMotion
        easing.type: Easing.InOutQuad
    }
}
