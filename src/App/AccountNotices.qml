import QtQuick
import Vaelix

/// The question about a login from outside, and what is told of a refused one. Each is loaded when it is
/// first wanted.
Item {
    id: notices

    required property AuthService authService

    function ask() {
        const current = authService.displayName === "" ? authService.userId : authService.displayName;
        if (authService.offeredAccount !== "")
            question.setSource("LoginQuestion.qml",
                               { account: authService.offeredAccount, currentAccount: current, visible: true });
    }
    function tell(reason: string) {
        refusal.setSource("AlertDialog.qml", { title: "无法登录", message: reason, confirmText: "好", visible: true });
    }

    Component.onCompleted: ask()

    Connections {
        target: notices.authService

        function onCallbackRefused(reason) { notices.tell(reason); }
        function onOfferedAccountChanged() { notices.ask(); }
    }
    Loader {
        id: question
    }
    Connections {
        target: question.item

        function onConfirmed() { notices.authService.acceptOffer(); }
        function onClosed() {
            question.source = "";
            notices.authService.declineOffer();
        }
    }
    Loader {
        id: refusal
    }
}
