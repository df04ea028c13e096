import QtQuick
import Vaelix

/// The login server's page under a bar that leads back.
FocusScope {
    id: panel

    required property AuthService authService
    required property bool isLoginCompleting
    /// Why the page is not shown here; empty unless it cannot be.
    property string obstacle
    signal backRequested
    signal callbackLoading
    signal callback(url url)

    Connections {
        target: web.item

        function onCallback(url: url) { panel.callback(url); }
        function onCallbackLoading() { panel.callbackLoading(); }
        function onRetryRequested() { web.open(); }
    }
    Loader {
        id: web

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: bar.bottom
        enabled: !panel.isLoginCompleting
        focus: true
        Component.onCompleted: open()

        /// Named, so that Qt WebEngine is loaded only now.
        function open() {
            panel.obstacle = WebEngine.prepare();
            const url = panel.obstacle === "" ? panel.authService.makeLoginURL() : "";
            if (String(url) !== "")
                setSource("WebAuthView.qml", { url: url });
        }
    }
    BrowserOffer {
        anchors.fill: web
        actionText: "在浏览器中登录"
        copyText: "复制登录地址"
        focus: visible
        hint: "登录后，浏览器会询问是否打开 Vaelix，请允许。"
        reason: web.status === Loader.Error ? webEngineIsMissing : panel.obstacle
        title: "无法显示登录页面"
        onCopyRequested: Pasteboard.copyText(panel.authService.beginBrowserLogin())
        onOpenRequested: open(panel.authService.beginBrowserLogin())
    }
    LoginSuccessOverlay {
        anchors.fill: parent
        isShown: panel.isLoginCompleting
    }
    Item {
        id: bar

        width: parent.width
        height: Theme.rowHeight + Theme.spacingM

        BackButton {
            anchors.left: parent.left
            anchors.leftMargin: Theme.spacingM
            anchors.verticalCenter: parent.verticalCenter
            onClicked: panel.backRequested()
        }
        Label {
            anchors.centerIn: parent
            font.weight: Font.DemiBold
            text: "登录 Vaelix"
            Accessible.name: text
            Accessible.role: Accessible.Heading
        }
        Separator {
            anchors.bottom: parent.bottom
            width: parent.width
        }
    }
}
