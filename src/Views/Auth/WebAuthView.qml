import QtQuick
import QtWebEngine
import Vaelix

/// Shows the login server's page and watches where it goes. What it loads is settled when it is made.
FocusScope {
    id: webAuthView

    required property url url
    property bool hasLoaded: false
    property bool hasFailed: false
    /// The server's last page is about to load.
    signal callbackLoading
    /// The login ended; the address carries its result.
    signal callback(url url)
    signal retryRequested

    function fail() {
        hasFailed = true;
    }
    function follow(address: url) {
        if (LoginNavigation.isCallback(address))
            ending.post(address);
        else if (LoginNavigation.isCallbackPage(address))
            endingSoon.start();
    }
    function finish() {
        hasLoaded = true;
        webView.runJavaScript(LoginNavigation.styleScript());
    }

    WebEngineView {
        id: webView

        objectName: "webPage"
        anchors.fill: parent
        backgroundColor: "transparent"
        focus: true
        settings.errorPageEnabled: false
        settings.unknownUrlSchemePolicy: WebEngineSettings.DisallowUnknownUrlSchemes
        url: webAuthView.url
        visible: webAuthView.hasLoaded && !webAuthView.hasFailed
        onContextMenuRequested: request => request.accepted = true
        onFeaturePermissionRequested: (origin, feature) => grantFeaturePermission(origin, feature, false)
        onLoadProgressChanged: patience.restart()
        onLoadingChanged: info => {
            if (info.status === WebEngineView.LoadSucceededStatus)
                webAuthView.finish();
            else if (info.status === WebEngineView.LoadStoppedStatus)
                webAuthView.follow(info.url);
            else if (info.status === WebEngineView.LoadFailedStatus)
                webAuthView.fail();
        }
        onNavigationRequested: request => webAuthView.follow(request.url)
        onNewWindowRequested: request => url = request.requestedUrl
        onRenderProcessTerminated: webAuthView.fail()
        // Kept in the application's data folder, so that the server knows the user again.
        profile: WebEngineProfile {
            offTheRecord: false
            persistentCookiesPolicy: WebEngineProfile.ForcePersistentCookies
            storageName: "login"
            onDownloadRequested: download => download.cancel()
        }
    }
    // The page's own doing is over before its consequences begin, and each comes once.
    Timer {
        id: ending

        property url address

        interval: 0
        onTriggered: webAuthView.callback(address)

        function post(address: url) {
            ending.address = address;
            start();
        }
    }
    Timer {
        id: endingSoon

        interval: 0
        onTriggered: webAuthView.callbackLoading()
    }
    Timer {
        id: patience

        interval: 60000
        running: !webAuthView.hasLoaded
        onTriggered: webAuthView.fail()
    }
    WebPageStatus {
        anchors.fill: parent
        hasFailed: webAuthView.hasFailed
        visible: !webView.visible
        onRetryRequested: webAuthView.retryRequested()
    }
}
