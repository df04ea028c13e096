import QtQuick
import QtWebEngine
import Vaelix

/// A page of the web and what stands in for it while it loads or when it cannot be loaded. Load this file
/// and its users by their names, when a page is wanted: it brings Qt WebEngine with it.
FocusScope {
    id: page

    required property url url
    /// What the texts call the page.
    required property string pageName
    /// The folder of its cookies and storage among the application's data.
    required property string storageName
    /// Scripts to put into its documents, as WebEngineView takes them.
    property var userScripts: []
    readonly property alias view: webView
    property bool hasLoaded: false
    property bool hasFailed: false
    signal loaded
    /// Goes to an address, the first one too.
    signal navigated(url url)
    /// Did not go to an address, as it is not one of the web.
    signal stopped(url url)
    signal retryRequested
    signal consoleMessage(string message)

    function fail() {
        hasFailed = true;
    }
    function finish() {
        hasLoaded = true;
        loaded();
    }

    WebEngineView {
        id: webView

        objectName: "webPage"
        anchors.fill: parent
        backgroundColor: "transparent"
        focus: true
        settings.errorPageEnabled: false
        settings.focusOnNavigationEnabled: false // a question over the page keeps the keys
        settings.unknownUrlSchemePolicy: WebEngineSettings.DisallowUnknownUrlSchemes
        visible: page.hasLoaded && !page.hasFailed
        Component.onCompleted: {
            userScripts.collection = page.userScripts;
            url = page.url;
        }
        onContextMenuRequested: request => request.accepted = true
        onFeaturePermissionRequested: (origin, feature) => grantFeaturePermission(origin, feature, false)
        // Taken here, what a page says there is in no log of ours.
        onJavaScriptConsoleMessage: (level, message) => page.consoleMessage(message)
        onLoadProgressChanged: patience.restart()
        onLoadingChanged: info => {
            if (info.status === WebEngineView.LoadSucceededStatus)
                page.finish();
            else if (info.status === WebEngineView.LoadStoppedStatus)
                page.stopped(info.url);
            else if (info.status === WebEngineView.LoadFailedStatus)
                page.fail();
        }
        onNavigationRequested: request => page.navigated(request.url)
        onNewWindowRequested: request => url = request.requestedUrl
        onRenderProcessTerminated: page.fail()
        // Kept in the application's data folder, so that the server knows the user again.
        profile: WebEngineProfile {
            offTheRecord: false
            persistentCookiesPolicy: WebEngineProfile.ForcePersistentCookies
            storageName: page.storageName
            onDownloadRequested: download => download.cancel()
        }
    }
    Timer {
        id: patience

        interval: 60000
        running: !page.hasLoaded
        onTriggered: page.fail()
    }
    WebPageStatus {
        anchors.fill: parent
        hasFailed: page.hasFailed
        pageName: page.pageName
        visible: !webView.visible
        onRetryRequested: page.retryRequested()
    }
}
