import QtQuick
import QtWebEngine
import Vaelix

/// The QQ bot platform's page, watched for a bot's credentials.
WebPage {
    id: qqBotWebView

    signal credentialsDetected(string appId, string appSecret)

    pageName: " QQ 机器人页面"
    url: page.address
    onConsoleMessage: message => page.takeMessage(message)
    userScripts: [{
        name: "credentials",
        sourceCode: page.credentialScript(),
        injectionPoint: WebEngineScript.DocumentReady,
        worldId: WebEngineScript.ApplicationWorld,
        runOnSubframes: true
    }]

    QQBotPage {
        id: page

        onCredentialsDetected: (appId, appSecret) => qqBotWebView.credentialsDetected(appId, appSecret)
    }
}
