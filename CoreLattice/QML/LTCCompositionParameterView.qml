import QtQuick
import QtQuick.Templates as T
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// The parameters of a composition, one below the other, under its name.
Item {
    id: panel

    required property var view

    KeyBinding { id: parameters; object: panel.view; keyPath: "parameters" }
    KeyBinding { id: compositionName; object: panel.view; keyPath: "compositionName" }
    ActionLink { id: resetAll; target: panel.view; selector: "resetParameters" }

    Text {
        id: title

        x: 16
        y: 16
        width: parent.width - 32 - resetButton.width
        text: compositionName.value ?? ""
        color: Theme.text
        font.pixelSize: 16
        font.weight: Font.DemiBold
        elide: Text.ElideRight
    }
    T.AbstractButton {
        id: resetButton

        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: title.verticalCenter
        visible: list.count > 0
        width: resetLabel.implicitWidth + 16
        height: 26
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        onClicked: resetAll.send()
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Reset all settings")
        Accessible.onPressAction: clicked()

        contentItem: Text {
            id: resetLabel
            text: qsTr("Reset")
            color: resetButton.hovered ? Theme.text : Theme.secondaryText
            font.pixelSize: Theme.textSize
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 5
            color: resetButton.down ? Theme.controlPressed : resetButton.hovered ? Theme.controlHovered : "transparent"

            FocusFrame {
                control: resetButton
                anchors.margins: 0
            }
        }
    }

    Text {
        anchors.left: title.left
        anchors.top: title.bottom
        anchors.topMargin: 12
        visible: list.count === 0
        text: compositionName.value ? qsTr("This filter has no settings.") : qsTr("No filter is chosen.")
        color: Theme.secondaryText
        font.pixelSize: Theme.textSize
    }

    ListView {
        id: list

        anchors.fill: parent
        anchors.topMargin: 54
        clip: true
        spacing: 14
        bottomMargin: 16
        boundsBehavior: Flickable.StopAtBounds
        // Dragging belongs to the sliders; the wheel scrolls.
        interactive: contentHeight > height
        model: parameters.value ?? []

        delegate: ParameterRow {
            required property var modelData

            parameter: modelData
            x: 16
            width: list.width - 32
        }
    }
}
