import QtQuick
import "qrc:/Interface/Controls"

/// A place in a field of the picture's shape, and its two numbers, which can be written. Arrow keys move it, with the
/// shift key further; a double click, or the key for deleting, brings the default back.
FocusScope {
    id: point

    property string label
    property var place: [0, 0]
    property var least: [0, 0]
    property var most: [1, 1]
    signal chosen(var chosenPlace)
    signal resetWanted()

    implicitHeight: pad.y + pad.height
    activeFocusOnTab: true

    function held(axis, number) {
        return Math.min(most[axis], Math.max(least[axis], number));
    }
    function move(across, upwards) {
        chosen([held(0, place[0] + across * (most[0] - least[0])), held(1, place[1] + upwards * (most[1] - least[1]))]);
    }
    function decimals(axis) {
        return most[axis] - least[axis] >= 20 ? 0 : 2;
    }

    Keys.onPressed: event => {
        const step = event.modifiers & Qt.ShiftModifier ? 0.1 : 0.01;
        if (event.key === Qt.Key_Left)
            move(-step, 0);
        else if (event.key === Qt.Key_Right)
            move(step, 0);
        else if (event.key === Qt.Key_Up)
            move(0, step);
        else if (event.key === Qt.Key_Down)
            move(0, -step);
        else if (event.key === Qt.Key_Delete)
            resetWanted();
        else
            return;
        event.accepted = true;
    }
    Accessible.role: Accessible.Pane
    Accessible.name: label
    Accessible.description: qsTr("%1 across, %2 upwards. Double-click to reset").arg(across.figure).arg(upwards.figure)

    Text {
        anchors.left: parent.left
        anchors.right: across.left
        anchors.rightMargin: 8
        text: point.label
        color: Theme.secondaryText
        font.pixelSize: Theme.textSize
        elide: Text.ElideRight
    }
    NumberField {
        id: across

        anchors.right: upwards.left
        anchors.rightMargin: 14
        label: qsTr("%1, across").arg(point.label)
        number: point.place[0]
        decimals: point.decimals(0)
        onChosen: number => point.chosen([point.held(0, number), point.place[1]])
        onDone: pad.forceActiveFocus(Qt.TabFocusReason)
    }
    NumberField {
        id: upwards

        anchors.right: parent.right
        label: qsTr("%1, upwards").arg(point.label)
        number: point.place[1]
        decimals: point.decimals(1)
        onChosen: number => point.chosen([point.place[0], point.held(1, number)])
        onDone: pad.forceActiveFocus(Qt.TabFocusReason)
    }
    Rectangle {
        id: pad

        y: 24
        width: parent.width
        height: Math.round(width * 9 / 16)
        radius: Theme.radius
        color: Theme.control
        focus: true

        Rectangle {
            x: handle.x + handle.width / 2
            y: 4
            width: 1
            height: parent.height - 8
            color: Theme.disabledText
        }
        Rectangle {
            x: 4
            y: handle.y + handle.height / 2
            width: parent.width - 8
            height: 1
            color: Theme.disabledText
        }
        Rectangle {
            id: handle

            function share(axis) {
                const room = point.most[axis] - point.least[axis];
                return room > 0 ? (point.held(axis, point.place[axis]) - point.least[axis]) / room : 0;
            }

            x: share(0) * pad.width - width / 2
            y: (1 - share(1)) * pad.height - height / 2
            width: 14
            height: 14
            radius: 7
            color: Theme.accent
            border.width: 2
            border.color: Theme.text
        }
        MouseArea {
            function place(mouse) {
                const across = Math.min(1, Math.max(0, mouse.x / width));
                const upwards = 1 - Math.min(1, Math.max(0, mouse.y / height));
                point.chosen([point.least[0] + across * (point.most[0] - point.least[0]),
                    point.least[1] + upwards * (point.most[1] - point.least[1])]);
            }

            anchors.fill: parent
            preventStealing: true
            onPressed: mouse => {
                pad.forceActiveFocus(Qt.MouseFocusReason);
                place(mouse);
            }
            onPositionChanged: mouse => place(mouse)
            onDoubleClicked: point.resetWanted()
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: -2
            radius: Theme.radius + 2
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: pad.activeFocus
        }
    }
}
