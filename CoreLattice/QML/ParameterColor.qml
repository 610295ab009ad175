import QtQuick
import QtQuick.Templates as T
import "qrc:/Interface/Controls"

/// A colour as a well; a click opens hue, strength, brightness and opacity below it.
Column {
    id: well

    property string label
    property var components: [0, 0, 0, 1]
    property bool isOpen: false
    readonly property color shown: Qt.rgba(components[0], components[1], components[2], 1)
    // A grey has no hue of its own, so the one that the user set last stays.
    property double hue: 0
    signal chosen(var chosenComponents)
    signal resetWanted()

    spacing: 10
    onShownChanged: {
        if (shown.hsvHue >= 0 && shown.hsvSaturation > 0)
            hue = shown.hsvHue;
    }

    function choose(h, s, v) {
        const c = Qt.hsva(h, s, v, 1);
        chosen([c.r, c.g, c.b, components[3]]);
    }

    T.AbstractButton {
        id: button

        width: parent.width
        height: 28
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        onClicked: well.isOpen = !well.isOpen
        onDoubleClicked: well.resetWanted()
        Accessible.role: Accessible.Button
        Accessible.name: well.label
        Accessible.description: well.shown.toString()
        Accessible.onPressAction: clicked()

        contentItem: Text {
            text: well.label
            color: Theme.secondaryText
            font.pixelSize: Theme.textSize
            verticalAlignment: Text.AlignVCenter
        }
        background: Item {
            Rectangle {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 52
                height: 24
                radius: 12
                color: well.shown
                border.width: 2
                border.color: button.visualFocus ? Theme.accent : button.hovered ? Theme.secondaryText : Theme.line
            }
        }
    }
    ParameterSlider {
        visible: well.isOpen
        width: parent.width
        label: qsTr("Hue")
        from: 0
        to: 1
        number: well.hue
        onChosen: h => { well.hue = h; well.choose(h, well.shown.hsvSaturation, well.shown.hsvValue); }
        onResetWanted: well.resetWanted()
    }
    ParameterSlider {
        visible: well.isOpen
        width: parent.width
        label: qsTr("Strength")
        from: 0
        to: 1
        number: well.shown.hsvSaturation
        onChosen: s => well.choose(well.hue, s, well.shown.hsvValue)
        onResetWanted: well.resetWanted()
    }
    ParameterSlider {
        visible: well.isOpen
        width: parent.width
        label: qsTr("Brightness")
        from: 0
        to: 1
        number: well.shown.hsvValue
        onChosen: v => well.choose(well.hue, well.shown.hsvSaturation, v)
        onResetWanted: well.resetWanted()
    }
    ParameterSlider {
        visible: well.isOpen
        width: parent.width
        label: qsTr("Opacity")
        from: 0
        to: 1
        number: well.components[3]
        onChosen: a => well.chosen([well.components[0], well.components[1], well.components[2], a])
        onResetWanted: well.resetWanted()
    }
}
