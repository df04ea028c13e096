import QtQuick
import Vaelix

/// Changes the account's password.
Sheet {
    id: changePasswordView

    required property ChangePasswordViewModel viewModel

    closesAtEnd: true
    preferredWidth: 400
    preferredHeight: 360
    title: "修改密码"
    onOpened: oldPassword.takeFocus()

    function change() {
        if (confirmButton.enabled)
            viewModel.changePassword(oldPassword.text, newPassword.text, confirmPassword.text);
    }

    Column {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: Theme.spacingXL
        spacing: Theme.spacingM

        PasswordField {
            id: oldPassword

            width: parent.width
            label: "当前密码"
            placeholder: "请输入当前密码"
            onAccepted: changePasswordView.change()
        }
        PasswordField {
            id: newPassword

            width: parent.width
            label: "新密码"
            placeholder: "请输入新密码（至少6位）"
            onAccepted: changePasswordView.change()
        }
        PasswordField {
            id: confirmPassword

            width: parent.width
            label: "确认新密码"
            placeholder: "请再次输入新密码"
            onAccepted: changePasswordView.change()
        }
        Label {
            width: parent.width
            color: Theme.red
            font.pixelSize: Theme.caption
            maximumLineCount: 2
            text: changePasswordView.viewModel.errorMessage
            visible: text !== ""
            wrapMode: Text.Wrap
            Accessible.name: text
            Accessible.role: Accessible.AlertMessage
        }
    }
    Row {
        anchors.bottom: parent.bottom
        anchors.margins: Theme.spacingXL
        anchors.right: parent.right
        spacing: Theme.spacingS

        PushButton {
            text: "取消"
            onClicked: changePasswordView.close()
        }
        ProgressButton {
            id: confirmButton

            enabled: !isBusy && oldPassword.text !== "" && newPassword.text !== "" && confirmPassword.text !== ""
            isBusy: changePasswordView.viewModel.isLoading
            prominent: true
            text: "确认修改"
            onClicked: changePasswordView.change()
        }
    }
    AlertDialog {
        confirmText: "好的"
        message: "下次登录时请使用新密码。"
        title: "密码修改成功"
        visible: changePasswordView.viewModel.showSuccess
        onClosed: changePasswordView.close()
    }
}
