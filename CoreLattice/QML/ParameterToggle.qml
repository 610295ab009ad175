import QtQuick
import QtQuick.Templates as T
import "qrc:/Interface/Controls"

/// A truth value as a switch.
T.Switch {
    id: toggle

    property string label
    property bool isOn
    signal chosen(bool on)

    implicitWidth: 200
    implicitHeight: 28
    checked: isOn
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    onToggled: chosen(checked)
    Accessible.role: Accessible.CheckBox
    Accessible.name: label
    Accessible.checked: checked
    Accessible.onPressAction: { toggle(); toggled(); }

    contentItem: Text {
        rightPadding: 48
        text: toggle.label
        color: Theme.secondaryText
        font.pixelSize: Theme.textSize
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    indicator: Rectangle {
        x: toggle.width - width
        anchors.verticalCenter: parent.verticalCenter
        width: 36
        height: 20
        radius: 10
        color: toggle.checked ? Theme.accent : toggle.hovered ? Theme.controlHovered : Theme.control

        Rectangle {
            x: toggle.checked ? parent.width - width - 3 : 3
            anchors.verticalCenter: parent.verticalCenter
            width: 14
            height: 14
            radius: 7
            color: Theme.text
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: height / 2
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: toggle.visualFocus
        }
    }
}
