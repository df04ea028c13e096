import QtQuick

/// Loads the screen of a section when it is first shown, and keeps it with all that goes on in it.
Loader {
    id: loader

    required property NavigationItem navigationItem
    required property bool isShown

    visible: isShown
    onIsShownChanged: show()
    Component.onCompleted: show()

    function show() {
        if (isShown && status === Loader.Null)
            setSource(navigationItem.screen, navigationItem.screenProperties);
    }
}
