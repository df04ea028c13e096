pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Vaelix

/// How other applications reach the cloud models with the account's key.
Flickable {
    id: proxyView

    required property TokenProxyViewModel viewModel
    required property real contentWidth
    property bool copied: false
    readonly property var models: [
        { name: "GPT-4o", color: Theme.green },
        { name: "Claude 3.7", color: Theme.purple },
        { name: "DeepSeek R1", color: Theme.blue },
        { name: "Qwen 3", color: Theme.orange },
        { name: "Gemini 2.5", color: Theme.cyan },
        { name: "Grok 4", color: Theme.red }
    ]

    boundsBehavior: Flickable.StopAtBounds
    clip: true
    contentHeight: content.height + Theme.spacingXL
    T.ScrollBar.vertical: ScrollIndicator {}

    function copyEndpoint() {
        Pasteboard.copyText(viewModel.apiEndpoint);
        copied = true;
        reset.restart();
    }

    Timer {
        id: reset

        interval: 2000
        onTriggered: proxyView.copied = false
    }
    Column {
        id: content

        width: proxyView.contentWidth
        spacing: Theme.spacingM

        Label {
            height: Theme.controlHeight
            font.pixelSize: Theme.title3
            font.weight: Font.DemiBold
            text: "云端 API 接入"
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            text: "使用以下配置，即可在任何支持 OpenAI 接口的应用中接入 586 个大模型。Token 用量将自动计费到你的账户。"
            wrapMode: Text.Wrap
        }
        Rectangle {
            width: parent.width
            height: endpoint.height + key.height
            border.color: Theme.separator
            color: Theme.card
            radius: Theme.paneRadius

            CopyRow {
                id: endpoint

                width: parent.width
                help: proxyView.copied ? "已复制" : "复制 API Base URL"
                label: "API Base URL"
                symbol: proxyView.copied ? "checkmark" : "doc.on.doc"
                value: proxyView.viewModel.apiEndpoint
                onCopyRequested: proxyView.copyEndpoint()
            }
            Separator {
                x: Theme.spacingM
                y: endpoint.height
                width: parent.width - x
            }
            CopyRow {
                id: key

                y: endpoint.height
                width: parent.width
                help: "复制 API Key"
                label: "API Key"
                symbol: "doc.on.doc"
                value: proxyView.viewModel.shortenedAPIKey
                onCopyRequested: Pasteboard.copyText(proxyView.viewModel.apiKey)
            }
        }
        Label {
            height: Theme.rowHeight
            font.weight: Font.DemiBold
            text: "支持的模型 (部分)"
            verticalAlignment: Text.AlignBottom
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
        Label {
            width: parent.width
            color: Theme.secondaryText
            font.pixelSize: Theme.caption
            text: "共支持 586 个模型，涵盖 OpenAI、Claude、DeepSeek、Qwen、Llama 等全系列"
            wrapMode: Text.Wrap
        }
        Flow {
            width: parent.width
            spacing: Theme.spacingS

            Repeater {
                model: proxyView.models

                Rectangle {
                    id: tag

                    required property var modelData

                    width: name.implicitWidth + 2 * Theme.spacingM
                    height: 24
                    color: Theme.faded(tag.modelData.color, 0.16)
                    radius: height / 2

                    Label {
                        id: name

                        anchors.centerIn: parent
                        color: Theme.readable(tag.modelData.color)
                        font.pixelSize: Theme.caption
                        text: tag.modelData.name
                    }
                }
            }
        }
    }
}
