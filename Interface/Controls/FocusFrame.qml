import QtQuick

/// The frame around a control that has the keyboard.
Rectangle {
    property Item control: parent

    anchors.fill: parent
    anchors.margins: -2
    radius: Theme.radius + 2
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
    visible: control.visualFocus === true
}
