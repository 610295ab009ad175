import QtQuick
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// One tile of a picker: what its composition makes of the picture, with the name below; or why a file cannot be used.
Item {
    id: tile

    required property var object
    required property int index
    required property size pictureSize
    required property bool hasKeyboard ///< the strip that it is in
    required property bool selected
    required property bool showsName
    required property int ringSpace ///< above the picture
    readonly property bool usable: usability.value === true
    signal chosen()

    height: ListView.view.height

    Accessible.role: Accessible.ListItem
    Accessible.name: name.value ?? ""
    Accessible.description: explanation.value ?? ""
    Accessible.selectable: usable
    Accessible.selected: selected
    Accessible.focusable: usable
    Accessible.onPressAction: chosen()

    KeyBinding { id: name; object: tile.object; keyPath: "name" }
    KeyBinding { id: explanation; object: tile.object; keyPath: "explanation" }
    KeyBinding { id: usability; object: tile.object; keyPath: "usable" }
    KeyBinding { id: thumbnail; object: tile.object; keyPath: "layer" }

    Item {
        x: (parent.width - width) / 2
        y: tile.ringSpace
        width: tile.pictureSize.width

        Rectangle {
            id: ground

            width: tile.pictureSize.width
            height: tile.pictureSize.height
            color: tile.usable ? Theme.control : Theme.panel
        }
        LayerItem {
            width: tile.pictureSize.width
            height: tile.pictureSize.height
            visible: tile.usable
            contents: thumbnail.value
        }
        Text {
            anchors.fill: ground
            anchors.margins: 9
            visible: !tile.usable
            verticalAlignment: Text.AlignVCenter
            text: explanation.value ?? ""
            color: Theme.secondaryText
            font.pixelSize: Theme.smallTextSize
            wrapMode: Text.Wrap
            elide: Text.ElideRight
        }
        // Lies over the picture's corners, which are square, and rounds them.
        Rectangle {
            x: -3
            y: -3
            width: tile.pictureSize.width + 6
            height: tile.pictureSize.height + 6
            radius: 9
            color: "transparent"
            border.width: 3
            border.color: Theme.window
        }
        Rectangle {
            x: -4
            y: -4
            width: tile.pictureSize.width + 8
            height: tile.pictureSize.height + 8
            radius: 10
            visible: tile.usable && (tile.selected || pointer.containsMouse)
            color: "transparent"
            border.width: tile.hasKeyboard && tile.selected ? 3 : 2
            border.color: tile.selected ? Theme.accent : Theme.disabledText
        }
        Text {
            y: tile.pictureSize.height + 7
            width: parent.width
            visible: tile.showsName
            horizontalAlignment: Text.AlignHCenter
            text: name.value ?? ""
            color: tile.selected ? Theme.text : tile.usable ? Theme.secondaryText : Theme.disabledText
            font.pixelSize: Theme.textSize
            font.weight: tile.selected ? Font.DemiBold : Font.Normal
            elide: Text.ElideRight
        }
    }
    MouseArea {
        id: pointer
        readonly property bool hovered: containsMouse && !pressed

        anchors.fill: parent
        hoverEnabled: true
        onClicked: tile.chosen()

        Hint {
            control: pointer
            text: explanation.value ?? ""
        }
    }
}
