import QtQuick
import QtQuick.Templates as T
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// A strip of tiles, one for each composition that is shown, and at its end one for each file that cannot be used.
/// Clicks, arrow keys, Home and End choose; a click beside the tiles empties the selection where that is allowed.
FocusScope {
    id: strip

    required property var view
    readonly property int tileWidth: 144
    readonly property int tileHeight: 81
    /// Somebody types while the strip has the keyboard.
    signal typed(string text)

    activeFocusOnTab: true
    Accessible.role: Accessible.List
    Accessible.name: qsTr("Filters")

    KeyBinding { id: tiles; object: strip.view; keyPath: "shownTiles" }
    KeyBinding { id: choices; object: strip.view; keyPath: "shownCompositionCount" }
    KeyBinding { id: selection; object: strip.view; keyPath: "shownIndex" }
    KeyBinding { id: visibleTiles; object: strip.view; keyPath: "visibleTiles" }
    KeyBinding { id: showsNames; object: strip.view; keyPath: "showsCompositionNames" }
    KeyBinding { id: allowsNone; object: strip.view; keyPath: "allowsEmptySelection" }

    function choose(index) {
        if (index >= 0 && index < (choices.value ?? 0))
            selection.value = index;
    }

    Keys.onLeftPressed: choose(selection.value - 1)
    Keys.onRightPressed: choose(selection.value + 1)
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home)
            choose(0);
        else if (event.key === Qt.Key_End)
            choose(choices.value - 1);
        else if (event.key === Qt.Key_Space || event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
            choose(Math.max(0, selection.value));
        else if (/^[\p{L}\p{N}]$/u.test(event.text) && !(event.modifiers & ~Qt.ShiftModifier))
            typed(event.text);
        else
            return;
        event.accepted = true;
    }

    MouseArea {
        anchors.fill: parent
        onClicked: {
            strip.forceActiveFocus();
            if (allowsNone.value === true)
                selection.value = -1;
        }
    }
    // A wheel that only turns up and down turns the strip too.
    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        orientation: Qt.Vertical
        onWheel: event => list.scrollBy(-event.angleDelta.y / 120 * list.step)
    }

    ListView {
        id: list

        // For the ring around the chosen tile.
        readonly property int ringSpace: 6
        // Belongs to the tiles, half of it on each side, so that a tile that was scrolled to has its room.
        readonly property int gap: 14
        readonly property int step: strip.tileWidth + gap
        readonly property int firstVisible: Math.max(0, Math.floor(contentX / step))
        readonly property int visibleCount: Math.ceil((contentX + width) / step) - firstVisible

        function scrollBy(distance) {
            const least = originX;
            const most = Math.max(least, originX + contentWidth - width);
            scrolling.to = Math.min(most, Math.max(least, (scrolling.running ? scrolling.to : contentX) + distance));
            scrolling.restart();
        }

        anchors.verticalCenter: parent.verticalCenter
        x: (parent.width - width) / 2
        width: Math.min(parent.width, contentWidth)
        height: strip.tileHeight + (showsNames.value === true ? 22 : 0) + 2 * ringSpace
        orientation: ListView.Horizontal
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentWidth > strip.width
        clip: interactive
        model: ObjectRows { objects: tiles.value ?? [] }
        currentIndex: selection.value ?? -1
        highlightFollowsCurrentItem: true
        highlightMoveDuration: 150
        // Also when the tile came a moment before.
        onCurrentIndexChanged: Qt.callLater(positionViewAtIndex, currentIndex, ListView.Contain)
        // Only what is on the screen is rendered.
        onFirstVisibleChanged: visibleTiles.value = [firstVisible, visibleCount]
        onVisibleCountChanged: visibleTiles.value = [firstVisible, visibleCount]

        delegate: PickerTile {
            pictureSize: Qt.size(strip.tileWidth, strip.tileHeight)
            hasKeyboard: strip.activeFocus
            selected: selection.value === index
            width: list.step
            ringSpace: list.ringSpace
            showsName: showsNames.value === true
            onChosen: {
                strip.forceActiveFocus();
                strip.choose(index);
            }
        }

        NumberAnimation {
            id: scrolling
            target: list
            property: "contentX"
            duration: 120
            easing.type: Easing.OutCubic
        }
        T.ScrollBar.horizontal: T.ScrollBar {
            id: bar

            height: 6
            y: list.height - height
            policy: list.interactive ? T.ScrollBar.AsNeeded : T.ScrollBar.AlwaysOff
            hoverEnabled: true

            contentItem: Rectangle {
                implicitHeight: 4
                radius: 2
                color: bar.pressed || bar.hovered ? Theme.secondaryText : Theme.disabledText
                opacity: bar.active ? 1 : 0
            }
        }
    }
    Text {
        anchors.centerIn: parent
        visible: list.count === 0
        text: qsTr("No filter matches.")
        color: Theme.secondaryText
        font.pixelSize: Theme.textSize
    }
}
