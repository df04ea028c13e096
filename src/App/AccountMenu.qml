import QtQuick
import Vaelix

/// Who is signed in, and what they can do about it.
Item {
    id: account

    required property string displayName
    readonly property string label: displayName === "" ? "用户" : displayName
    signal changePasswordRequested
    signal logoutRequested

    implicitHeight: Theme.rowHeight
    activeFocusOnTab: true
    Accessible.focusable: true
    Accessible.name: label
    Accessible.role: Accessible.ButtonMenu
    Accessible.onPressAction: openAtFirstItem()
    Keys.onDownPressed: openAtFirstItem()
    ButtonKeys.onPressed: openAtFirstItem()
    Keys.onUpPressed: openAtFirstItem()

    function toggleMenu() {
        menu.load();
        (menu.item as AccountActions).toggle();
    }
    function openAtFirstItem() {
        menu.load();
        (menu.item as AccountActions).openAtFirstItem();
    }

    Rectangle {
        id: ground

        anchors.fill: parent
        color: menu.isOpen ? Theme.pressed : hover.hovered ? Theme.hovered : "transparent"
        radius: Theme.controlRadius
    }
    FocusRing {
        control: ground
        visible: account.activeFocus && !menu.isOpen
    }
    HoverHandler {
        id: hover
    }
    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onSingleTapped: account.toggleMenu()
    }
    SymbolImage {
        id: person

        anchors.left: parent.left
        anchors.leftMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        symbol: "person.circle.fill"
    }
    Label {
        anchors.left: person.right
        anchors.leftMargin: Theme.spacingS
        anchors.right: chevrons.left
        anchors.rightMargin: Theme.spacingXS
        height: parent.height
        font.pixelSize: Theme.caption
        text: account.label
    }
    SymbolImage {
        id: chevrons

        anchors.right: parent.right
        anchors.rightMargin: Theme.spacingS
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.secondaryText
        size: Theme.caption
        symbol: "chevron.up.chevron.down"
    }
    Loader {
        id: menu

        // The type is named in no declaration, as that would load it at once.
        readonly property bool isOpen: (item as AccountActions)?.isOpen ?? false

        anchors.fill: parent

        function load() {
            if (status === Loader.Null)
                setSource("AccountActions.qml");
        }
    }
    Connections {
        target: menu.item

        function onChangePasswordRequested() { account.changePasswordRequested(); }
        function onLogoutRequested() { account.logoutRequested(); }
    }
}
