import QtQuick
import QtQuick.Templates as T

/// The menu over the account label, which loads it when it is first wanted.
Item {
    id: actions

    readonly property alias isOpen: menu.visible
    signal changePasswordRequested
    signal logoutRequested

    function toggle() {
        if (menu.visible)
            menu.close();
        else
            menu.open();
    }
    function openAtFirstItem() {
        menu.open();
        menu.currentIndex = 0;
    }

    PopupMenu {
        id: menu

        y: -height - Theme.spacingXS
        width: actions.width

        MenuRow {
            symbol: "key.fill"
            text: "修改密码"
            onTriggered: actions.changePasswordRequested()
        }
        T.MenuSeparator {
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            verticalPadding: Theme.spacingXS
            contentItem: Separator {}
        }
        MenuRow {
            destructive: true
            symbol: "rectangle.portrait.and.arrow.right"
            text: "退出登录"
            onTriggered: actions.logoutRequested()
        }
    }
}
