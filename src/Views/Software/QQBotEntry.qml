import QtQuick
import Vaelix

/// Takes a bot's credentials from the user, where the platform's page cannot be watched for them.
Row {
    id: entry

    signal entered(string appId, string appSecret)

    function enter() {
        if (connectButton.enabled)
            entered(appId.text, appSecret.text);
    }

    spacing: Theme.spacingS

    TextField {
        id: appId

        width: 160
        placeholderText: "AppID"
        validator: RegularExpressionValidator { regularExpression: /[0-9]{8,15}/ }
        Accessible.name: placeholderText
        onAccepted: entry.enter()
    }
    TextField {
        id: appSecret

        width: 300
        echoMode: TextInput.Password
        inputMethodHints: Qt.ImhHiddenText | Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
        placeholderText: "AppSecret"
        validator: RegularExpressionValidator { regularExpression: /[A-Za-z0-9]{20,64}/ }
        Accessible.name: placeholderText
        onAccepted: entry.enter()
    }
    PushButton {
        id: connectButton

        enabled: appId.acceptableInput && appSecret.acceptableInput
        text: "接入"
        onClicked: entry.enter()
    }
}
