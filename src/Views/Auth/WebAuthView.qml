import QtQuick
import Vaelix

/// Shows the login server's page and watches where it goes.
WebPage {
    id: webAuthView

    /// The server's last page is about to load.
    signal callbackLoading
    /// The login ended; the address carries its result.
    signal callback(url url)

    function follow(address: url) {
        if (LoginNavigation.isCallback(address))
            ending.post(address);
        else if (LoginNavigation.isCallbackPage(address))
            endingSoon.start();
    }

    pageName: "登录页面"
    onLoaded: view.runJavaScript(LoginNavigation.styleScript())
    onNavigated: url => follow(url)
    onStopped: url => follow(url)

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
}
