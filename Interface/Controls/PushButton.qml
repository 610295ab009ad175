import QtQuick
import QtQuick.Templates as T

/// A button with an icon and a label. `prominent` ones carry the accent.
T.Button {
    id: button

    property bool prominent: false
    property url iconSource
    property string shortcutText

    implicitWidth: row.implicitWidth + 2 * 14
    implicitHeight: Theme.controlHeight
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: shortcutText
    Accessible.onPressAction: clicked()

    Hint {
        control: button
        text: button.shortcutText === "" ? "" : button.text + "   " + button.shortcutText
    }

    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 8

            Image {
                anchors.verticalCenter: parent.verticalCenter
                visible: status === Image.Ready
                source: button.iconSource
                sourceSize: Qt.size(18, 18)
                opacity: button.enabled ? 1 : 0.4
            }
            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: button.text
                color: !button.enabled ? Theme.disabledText : Theme.text
                font.pixelSize: Theme.textSize
                font.weight: button.prominent ? Font.DemiBold : Font.Medium
            }
        }
    }

    background: Rectangle {
        radius: Theme.radius
        color: button.prominent
            ? (button.down ? Theme.accentPressed : Theme.accent)
            : (button.down ? Theme.controlPressed : button.hovered ? Theme.controlHovered : Theme.control)
        opacity: button.enabled ? 1 : 0.5

        FocusFrame {
            control: button
        }
    }
}
