pragma Singleton

import QtQuick

/// How the screens show a status, besides its name.
QtObject {
    readonly property var symbols: ["circle.dashed", "circle.circle", "circle.fill", "circle.circle", busySymbol, busySymbol, busySymbol, "exclamationmark.circle"]
    readonly property string busySymbol: "arrow.triangle.2.circlepath"
    readonly property var colors: [Theme.grey, Theme.orange, Theme.green, Theme.orange, Theme.blue, Theme.blue, Theme.blue, Theme.red]

    function symbol(status: int): string {
        return symbols[status];
    }
    function color(status: int): color {
        return colors[status];
    }
}
