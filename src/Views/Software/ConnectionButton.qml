/// Connects an agent to a chat platform, or tells that it is.
PushButton {
    required property string platform
    required property bool connected

    symbol: connected ? "checkmark.circle.fill" : "message"
    symbolColor: connected ? Theme.green : foreground
    text: (connected ? "已接入" : "接入") + platform
}
