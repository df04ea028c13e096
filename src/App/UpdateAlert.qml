import QtQuick

/// What is told of updates, one thing at a time.
Item {
    function show(title: string, message: string, confirmText: string) {
        alert.title = title;
        alert.message = message;
        alert.confirmText = confirmText;
        alert.open();
    }

    AlertDialog {
        id: alert

        confirmText: ""
        message: ""
        title: ""
    }
}
