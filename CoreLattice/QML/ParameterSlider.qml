import QtQuick
import QtQuick.Templates as T
import "qrc:/Interface/Controls"

/// A number on a line between its bounds. A double click, or the key for deleting, brings the default back; a click on
/// the figure, or a digit, begins to write another one.
T.Slider {
    id: slider

    property string label
    property double number
    property string unit
    property double lastPress: 0
    signal chosen(double chosenNumber)
    signal resetWanted()

    implicitWidth: 200
    implicitHeight: 44
    topPadding: 22
    value: number
    stepSize: (to - from) / 100
    snapMode: T.Slider.NoSnap
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    onMoved: chosen(value)
    // The slider keeps the presses for itself, so it must tell a double click by its own presses.
    onPressedChanged: {
        if (!pressed)
            return;
        const now = Date.now();
        if (now - lastPress < 400)
            resetSoon.start();
        lastPress = now;
    }
    Keys.onDeletePressed: resetWanted()
    Keys.onPressed: event => {
        if (/^[0-9.,-]$/.test(event.text)) {
            figure.write(event.text);
            event.accepted = true;
        }
    }
    readonly property int decimals: to - from >= 20 ? 0 : to - from >= 4 ? 1 : 2

    Timer {
        id: resetSoon

        // After the second release, which still moves the handle; not when the second press became a drag.
        interval: 250
        onTriggered: {
            if (!slider.pressed)
                slider.resetWanted();
        }
    }

    Accessible.role: Accessible.Slider
    Accessible.name: label
    Accessible.description: qsTr("Double-click to reset")
    Accessible.onIncreaseAction: { increase(); moved(); }
    Accessible.onDecreaseAction: { decrease(); moved(); }

    Text {
        anchors.left: parent.left
        anchors.right: figure.left
        anchors.rightMargin: 8
        text: slider.label
        color: Theme.secondaryText
        font.pixelSize: Theme.textSize
        elide: Text.ElideRight
    }
    NumberField {
        id: figure

        anchors.right: parent.right
        label: slider.label
        number: slider.value
        decimals: slider.decimals
        unit: slider.unit
        onChosen: chosenNumber => slider.chosen(Math.min(slider.to, Math.max(slider.from, chosenNumber)))
        onDone: slider.forceActiveFocus(Qt.TabFocusReason)
    }

    background: Item {
        Rectangle {
            x: 0
            y: slider.topPadding + slider.availableHeight / 2 - height / 2
            width: parent.width
            height: 4
            radius: 2
            color: Theme.control

            Rectangle {
                width: slider.handle.x + slider.handle.width / 2
                height: parent.height
                radius: 2
                color: slider.enabled ? Theme.accent : Theme.disabledText
            }
        }
    }
    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: slider.topPadding + slider.availableHeight / 2 - height / 2
        width: 16
        height: 16
        radius: 8
        color: slider.pressed ? "white" : Theme.text

        Rectangle {
            anchors.fill: parent
            anchors.margins: -4
            radius: width / 2
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: slider.visualFocus
        }
    }
}
