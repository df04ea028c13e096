import QtQuick
import Vaelix

/// The login server's page under a bar that leads back.
FocusScope {
    id: panel

    required property AuthService authService
    required property bool isLoginCompleting
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
            const url = panel.authService.makeLoginURL();
            if (String(url) !== "")
                setSource("WebAuthView.qml", { url: url });
        }
    }
    EmptyPlaceholder {
        anchors.fill: web
        description: "缺少网页组件 Qt WebEngine，请安装后重新打开 Vaelix。"
        systemImage: "exclamationmark.triangle.fill"
        title: "无法显示登录页面"
        visible: web.status === Loader.Error
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
