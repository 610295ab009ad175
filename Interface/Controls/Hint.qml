import QtQuick
import QtQuick.Templates as T

/// What a control does, shown while the pointer rests on it.
T.ToolTip {
    id: hint

    property Item control: parent
    property bool wanted: control.hovered === true

    delay: 600
    visible: wanted && text !== ""
    x: (control.width - width) / 2
    y: -height - 6
    padding: 8
    implicitWidth: contentItem.implicitWidth + 2 * padding
    implicitHeight: contentItem.implicitHeight + 2 * padding
    margins: 4
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent | T.Popup.CloseOnReleaseOutsideParent

    contentItem: Text {
        text: hint.text
        color: Theme.text
        font.pixelSize: Theme.smallTextSize + 1
    }
    background: Rectangle {
        radius: 5
        color: Theme.controlHovered
        border.color: Theme.line
    }
}
