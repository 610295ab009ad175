import QtQuick
import QtQuick.Templates as T

/// A list of texts of which one is chosen. `choices` and `choice` are values of keys; choosing writes `selection`, the
/// binding that `choice` comes from.
T.ComboBox {
    id: popUp

    property var choices
    property string choice
    property QtObject selection
    property string label
    property string hint
    property url iconSource

    model: choices ?? []
    currentIndex: choices ? choices.indexOf(choice) : -1
    enabled: count > 0

    implicitWidth: 230
    implicitHeight: Theme.controlHeight
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.ComboBox
    Accessible.name: label
    Accessible.description: choice

    Hint {
        control: popUp
        wanted: popUp.hovered && !popUp.down
        text: popUp.hint
    }

    onActivated: index => selection.value = textAt(index)

    contentItem: Row {
        leftPadding: 12
        spacing: 8

        Image {
            anchors.verticalCenter: parent.verticalCenter
            visible: status === Image.Ready
            source: popUp.iconSource
            sourceSize: Qt.size(18, 18)
        }
        Text {
            anchors.verticalCenter: parent.verticalCenter
            width: popUp.width - 12 - 26 - 30
            text: popUp.choice
            color: popUp.enabled ? Theme.text : Theme.disabledText
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
        }
    }

    indicator: Image {
        x: popUp.width - width - 10
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/Interface/Icons/chevron.svg"
        sourceSize: Qt.size(14, 14)
    }

    background: Rectangle {
        radius: Theme.radius
        color: popUp.down ? Theme.controlPressed : popUp.hovered ? Theme.controlHovered : Theme.control

        FocusFrame {
            control: popUp
        }
    }

    delegate: T.ItemDelegate {
        id: entry

        required property string modelData
        required property int index

        width: ListView.view ? ListView.view.width : popUp.width
        implicitHeight: 32
        highlighted: popUp.highlightedIndex === index
        hoverEnabled: true
        Accessible.name: modelData

        contentItem: Text {
            leftPadding: 12
            rightPadding: 12
            text: entry.modelData
            color: entry.highlighted ? "white" : Theme.text
            font.pixelSize: Theme.textSize
            font.weight: popUp.currentIndex === entry.index ? Font.DemiBold : Font.Normal
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: Theme.radius - 2
            color: entry.highlighted ? Theme.accent : "transparent"
        }
    }

    popup: T.Popup {
        y: -height - 4
        width: Math.max(popUp.width, 260)
        height: Math.min(contentItem.implicitHeight + 8, 360)
        padding: 4

        contentItem: ListView {
            clip: true
            implicitHeight: contentHeight
            model: popUp.popup.visible ? popUp.delegateModel : null
            currentIndex: popUp.highlightedIndex
            boundsBehavior: Flickable.StopAtBounds
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.control
            border.color: Theme.line
        }
    }
}
