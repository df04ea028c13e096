import QtQuick

/// A section of the application: what the sidebar shows of it, and the screen it opens. The screen is
/// named by its file, so that nothing of it is loaded before it is wanted.
QtObject {
    required property string title
    required property string symbol
    required property url screen
    property var screenProperties: ({})
}
