import QtQuick
import Tovrin.Interface

/// A folder that a click shows in the file manager, with the newest file in it.
InterfaceTextField {
    id: field

    property string caption
    property string recentFile
    property string placeholder
    property url iconSource
    readonly property bool visualFocus: activeFocus

    text: recentFile !== "" ? recentFile : placeholder

    implicitWidth: 196
    implicitHeight: 40

    Accessible.role: Accessible.Button
    Accessible.name: caption
    Accessible.description: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.control
        visible: field.hovered

    }
    FocusFrame {
        control: field
        radius: height / 2
    }
    Image {
        id: icon
        x: 14
        anchors.verticalCenter: parent.verticalCenter
        source: field.iconSource
        sourceSize: Qt.size(18, 18)
    }
    Column {
        anchors.left: icon.right
        anchors.leftMargin: 10
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1

        Text {
            width: parent.width
            text: field.caption
            color: Theme.secondaryText
            font.pixelSize: Theme.smallTextSize
            elide: Text.ElideRight
        }
        Text {
            width: parent.width
            text: field.text
            color: Theme.text
            font.pixelSize: Theme.textSize
            elide: Text.ElideMiddle
        }
    }
}
