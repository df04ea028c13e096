import QtQuick

/// A section of the application, shown in the sidebar.
QtObject {
    required property string title
    required property string symbol
    required property Component screen
}
