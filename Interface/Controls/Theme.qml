pragma Singleton

import QtQuick

/// Colours and measures of both windows: shades of grey behind the picture and one accent.
QtObject {
    readonly property color window: "#131417"
    readonly property color panel: "#1a1c20"
    readonly property color control: "#282b31"
    readonly property color controlHovered: "#33373f"
    readonly property color controlPressed: "#202227"
    readonly property color line: "#2b2e34"
    readonly property color text: "#eceef2"
    readonly property color secondaryText: "#9ba2ae"
    readonly property color disabledText: "#5d636d"
    readonly property color accent: "#ff6a4d"
    readonly property color accentPressed: "#e2553a"

    readonly property int space: 12
    readonly property int smallSpace: 6
    readonly property int controlHeight: 34
    readonly property int radius: 7
    readonly property int textSize: 13
    readonly property int smallTextSize: 11
}
