import QtQuick

/// Loads the screen of a section when it is first shown, and keeps it with all that goes on in it. The one that is
/// shown from the start waits for the window's first frame, which would else wait for it.
Loader {
    id: loader

    required property NavigationItem navigationItem
    required property bool isShown
    property bool hasFrame: false

    visible: isShown
    onIsShownChanged: show()

    function show() {
        if (hasFrame && isShown && status === Loader.Null)
            setSource(navigationItem.screen, navigationItem.screenProperties);
    }

    Connections {
        enabled: !loader.hasFrame
        target: loader.Window.window

        function onFrameSwapped() { afterFrame.start(); }
    }
    Timer {
        id: afterFrame

        interval: 0
        onTriggered: {
            loader.hasFrame = true;
            loader.show();
        }
    }
}
