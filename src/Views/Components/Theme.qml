pragma Singleton

import QtQuick
import Vaelix

/// Every colour, size and duration of the screens, by what it is for.
QtObject {
    readonly property bool isDark: Appearance.isDark

    // Surfaces
    readonly property color window: isDark ? "#1E1E1E" : "#F5F5F7"
    readonly property color sidebar: isDark ? "#252526" : "#ECECEE"
    readonly property color card: isDark ? "#2C2C2E" : "#FFFFFF"
    readonly property color separator: isDark ? "#1FFFFFFF" : "#1A000000"
    readonly property color outline: isDark ? "#29FFFFFF" : "#24000000"
    readonly property color scrim: isDark ? "#80000000" : "#4D000000"
    /// Dark enough for white text on it, in either look.
    readonly property color balanceStart: "#0067D9"
    readonly property color balanceEnd: "#9A3FC9"
    readonly property color terminal: "#000000"
    readonly property color terminalText: "#00FF00"

    // Text
    readonly property color text: isDark ? "#F5F5F7" : "#1D1D1F"
    readonly property color secondaryText: isDark ? "#98989D" : "#6E6E73"
    readonly property color tertiaryText: isDark ? "#636366" : "#AEAEB2"
    readonly property color accentedText: "#FFFFFF"

    // Accents
    readonly property color accent: blue
    readonly property color blue: isDark ? "#0A84FF" : "#007AFF"
    readonly property color green: isDark ? "#30D158" : "#34C759"
    readonly property color orange: isDark ? "#FF9F0A" : "#FF9500"
    readonly property color red: isDark ? "#FF453A" : "#FF3B30"
    readonly property color yellow: isDark ? "#FFD60A" : "#FFCC00"
    readonly property color purple: isDark ? "#BF5AF2" : "#AF52DE"
    readonly property color cyan: isDark ? "#64D2FF" : "#32ADE6"
    readonly property color grey: isDark ? "#98989D" : "#8E8E93"

    // Controls
    readonly property color control: isDark ? "#3A3A3C" : "#FFFFFF"
    readonly property color controlHovered: isDark ? "#444447" : "#F7F7F8"
    readonly property color controlPressed: isDark ? "#525255" : "#E8E8EB"
    readonly property color segment: isDark ? "#636366" : "#FFFFFF"
    readonly property color hovered: isDark ? "#14FFFFFF" : "#0D000000"
    readonly property color pressed: isDark ? "#26FFFFFF" : "#1A000000"
    readonly property color focusRing: faded(accent, 0.5)
    readonly property real disabledOpacity: 0.4

    // Type
    readonly property string fontFamily: "Noto Sans CJK SC"
    /// Its block characters fill their cells, so that a QR code printed as text can be scanned.
    readonly property string monospacedFamily: "DejaVu Sans Mono"
    readonly property int chartCaption: 9
    readonly property int smallCaption: 10
    readonly property int caption: 11
    /// The smallest monospaced type whose characters are exactly half as wide as they are high.
    readonly property int codeCaption: 12
    readonly property int body: 13
    readonly property int title3: 15
    readonly property int title2: 17
    readonly property int title: 22
    readonly property int largeTitle: 26
    readonly property int productTitle: 28

    // Spacing
    readonly property int spacingXS: 4
    readonly property int spacingS: 8
    readonly property int spacingM: 12
    readonly property int spacingL: 16
    readonly property int spacingXL: 20
    readonly property int spacingXXL: 24

    // Sizes
    readonly property int controlRadius: 6
    readonly property int paneRadius: 8
    readonly property int cardRadius: 12
    readonly property int controlHeight: 28
    readonly property int largeControlHeight: 36
    readonly property int rowHeight: 32
    readonly property int smallIcon: 14
    readonly property int icon: 16
    readonly property int listIcon: 36
    readonly property int headerIcon: 64
    readonly property int placeholderIcon: 48

    // Motion, in milliseconds
    readonly property int shortMotion: Appearance.prefersReducedMotion ? 0 : 150
    readonly property int longMotion: Appearance.prefersReducedMotion ? 0 : 300
    readonly property int tooltipDelay: 600

    function faded(color: color, opacity: real): color {
        return Qt.rgba(color.r, color.g, color.b, opacity);
    }

    /// The colour for small text of `color` on a ground tinted with the same.
    function readable(color: color): color {
        return isDark ? Qt.lighter(color, 1.15) : Qt.darker(color, 1.65);
    }
}
