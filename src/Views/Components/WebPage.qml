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
    /// Scripts to put into its documents, as WebEngineView takes them.
    property var userScripts: []
    readonly property alias view: webView
    /// How long nothing at all may arrive of the first page.
    property int patienceMs: 60000
    property bool hasLoaded: false
    property bool hasFailed: false
    /// What the shown page led to last could not be loaded.
    property bool hasMissed: false
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
    /// A page that is there stays: the user may have typed into it.
    function miss() {
        if (hasLoaded)
            hasMissed = true;
        else
            fail();
    }
    /// The first page is coming, if slowly.
    function waitLonger() {
        if (patience.running)
            patience.restart();
    }
    function finish() {
        hasFailed = false;
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
        onLoadProgressChanged: page.waitLonger()
        onLoadingChanged: info => {
            page.hasMissed = false;
            if (info.status === WebEngineView.LoadSucceededStatus)
                page.finish();
            else if (info.status === WebEngineView.LoadStoppedStatus)
                page.stopped(info.url);
            else if (info.status === WebEngineView.LoadFailedStatus)
                page.miss();
        }
        onNavigationRequested: request => page.navigated(request.url)
        onNewWindowRequested: request => url = request.requestedUrl
        onRenderProcessTerminated: page.fail()
        // What such pages and their addresses carry is secret: nothing of it goes to the disk.
        profile: WebEngineProfile {
            offTheRecord: true
            onDownloadRequested: download => download.cancel()
        }
    }
    Timer {
        id: patience

        interval: page.patienceMs
        running: !page.hasLoaded && !page.hasFailed
        onTriggered: page.fail()
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.rowHeight
        color: Theme.card
        visible: page.hasMissed && webView.visible

        Separator {
            width: parent.width
        }
        Label {
            anchors.centerIn: parent
            color: Theme.red
            text: "网页没有打开，请检查网络连接后再试。"
            Accessible.name: text
            Accessible.role: Accessible.AlertMessage
        }
    }
    WebPageStatus {
        anchors.fill: parent
        hasFailed: page.hasFailed
        pageName: page.pageName
        visible: !webView.visible
        onRetryRequested: page.retryRequested()
    }
}
