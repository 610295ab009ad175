import QtQuick
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// A strip of tiles, one for each composition, and at its end one for each file that cannot be used, with the reason.
/// Clicks, arrow keys, Home and End choose; a click beside the tiles empties the selection where that is allowed.
FocusScope {
    id: picker

    required property var view
    readonly property int tileWidth: 144
    readonly property int tileHeight: 81

    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Filters")

    KeyBinding { id: tiles; object: picker.view; keyPath: "tiles" }
    KeyBinding { id: compositions; object: picker.view; keyPath: "compositions" }
    KeyBinding { id: selection; object: picker.view; keyPath: "selectedIndex" }
    KeyBinding { id: showsNames; object: picker.view; keyPath: "showsCompositionNames" }
    KeyBinding { id: notice; object: picker.view; keyPath: "notice" }
    KeyBinding { id: allowsNone; object: picker.view; keyPath: "allowsEmptySelection" }

    readonly property int choices: compositions.value ? compositions.value.length : 0

    function choose(index) {
        if (index >= 0 && index < choices)
            selection.value = index;
    }

    Keys.onLeftPressed: choose(selection.value - 1)
    Keys.onRightPressed: choose(selection.value + 1)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home)
            choose(0);
        else if (event.key === Qt.Key_End)
            choose(choices - 1);
        else if (event.key === Qt.Key_Space || event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            choose(Math.max(0, selection.value));
        else
            return;
        event.accepted = true;
    }

    MouseArea {
        anchors.fill: parent
        onClicked: {
            picker.forceActiveFocus();
            if (allowsNone.value === true)
                selection.value = -1;
        }
    }

    ListView {
        id: list

        // For the ring around the chosen tile.
        readonly property int ringSpace: 6

        anchors.verticalCenter: parent.verticalCenter
        x: Math.max(0, (parent.width - width) / 2)
        width: Math.min(parent.width, contentWidth + leftMargin + rightMargin)
        height: picker.tileHeight + (showsNames.value === true ? 22 : 0) + 2 * ringSpace
        leftMargin: 14
        rightMargin: 14
        spacing: 14
        orientation: ListView.Horizontal
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentWidth + leftMargin + rightMargin > picker.width
        clip: interactive
        model: ObjectRows { objects: tiles.value ?? [] }
        currentIndex: selection.value ?? -1
        highlightFollowsCurrentItem: true
        // Also when the tile came a moment before.
        onCurrentIndexChanged: Qt.callLater(positionViewAtIndex, currentIndex, ListView.Contain)

        delegate: Item {
            id: tile

            required property var object
            required property int index
            readonly property bool selected: selection.value === index
            readonly property bool usable: usability.value === true

            width: picker.tileWidth
            height: list.height

            Accessible.role: Accessible.ListItem
            Accessible.name: name.value ?? ""
            Accessible.description: explanation.value ?? ""
            Accessible.selectable: usable
            Accessible.selected: selected
            Accessible.focusable: usable
            Accessible.onPressAction: picker.choose(index)

            KeyBinding { id: name; object: tile.object; keyPath: "name" }
            KeyBinding { id: explanation; object: tile.object; keyPath: "explanation" }
            KeyBinding { id: usability; object: tile.object; keyPath: "usable" }
            KeyBinding { id: thumbnail; object: tile.object; keyPath: "layer" }

            Item {
                y: list.ringSpace
                width: parent.width

                Rectangle {
                    id: ground

                    width: picker.tileWidth
                    height: picker.tileHeight
                    color: tile.usable ? Theme.control : Theme.panel
                }
                LayerItem {
                    width: picker.tileWidth
                    height: picker.tileHeight
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
                    width: picker.tileWidth + 6
                    height: picker.tileHeight + 6
                    radius: 9
                    color: "transparent"
                    border.width: 3
                    border.color: Theme.window
                }
                Rectangle {
                    x: -4
                    y: -4
                    width: picker.tileWidth + 8
                    height: picker.tileHeight + 8
                    radius: 10
                    visible: tile.usable && (tile.selected || pointer.containsMouse)
                    color: "transparent"
                    border.width: picker.activeFocus && tile.selected ? 3 : 2
                    border.color: tile.selected ? Theme.accent : Theme.disabledText
                }
                Text {
                    y: picker.tileHeight + 7
                    width: parent.width
                    visible: showsNames.value === true
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
                onClicked: {
                    picker.forceActiveFocus();
                    picker.choose(tile.index);
                }

                Hint {
                    control: pointer
                    text: explanation.value ?? ""
                }
            }
        }
    }

    // Why what was just dropped cannot be used; it lies over the picture's lower edge.
    Rectangle {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.top
        anchors.bottomMargin: Theme.space
        width: noticeText.width + 2 * Theme.space
        height: noticeText.height + 2 * Theme.smallSpace
        radius: Theme.radius
        visible: noticeText.text !== ""
        color: Theme.panel
        border.color: Theme.accent

        Text {
            id: noticeText

            anchors.centerIn: parent
            width: Math.min(implicitWidth, picker.width - 6 * Theme.space)
            text: notice.value ?? ""
            color: Theme.text
            font.pixelSize: Theme.textSize
            wrapMode: Text.Wrap
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }
}
