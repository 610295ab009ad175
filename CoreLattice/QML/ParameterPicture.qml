import QtQuick
import QtQuick.Templates as T
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// A picture as a well: a click, or the key for entering, chooses a file; a file can be dropped on it; the key for
/// deleting empties it. Below it, the button that takes what the camera shows, and why a file could not be used.
Column {
    id: picture

    required property var parameter
    property string label
    readonly property bool isSet: hasPicture.value === true
    signal resetWanted()

    spacing: 8

    KeyBinding { id: layer; object: picture.parameter; keyPath: "layer" }
    KeyBinding { id: hasPicture; object: picture.parameter; keyPath: "hasPicture" }
    KeyBinding { id: isReading; object: picture.parameter; keyPath: "isReading" }
    KeyBinding { id: problem; object: picture.parameter; keyPath: "problem" }
    KeyBinding { id: chosenURL; object: picture.parameter; keyPath: "pictureURL" }
    KeyBinding { id: firstFolder; object: picture.parameter; keyPath: "firstFolderURL" }
    ActionLink { id: useCurrent; target: picture.parameter; selector: "useCurrentPicture" }

    Item {
        width: parent.width
        height: 22

        Text {
            anchors.left: parent.left
            anchors.right: clear.left
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            text: picture.label
            color: Theme.secondaryText
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
        }
        T.AbstractButton {
            id: clear

            anchors.right: parent.right
            anchors.rightMargin: -8
            width: clearText.implicitWidth + 16
            height: parent.height
            visible: picture.isSet
            hoverEnabled: true
            focusPolicy: Qt.StrongFocus
            onClicked: {
                well.forceActiveFocus(Qt.OtherFocusReason);
                picture.resetWanted();
            }
            Accessible.role: Accessible.Button
            Accessible.name: qsTr("Clear %1").arg(picture.label)
            Accessible.onPressAction: clicked()

            contentItem: Text {
                id: clearText
                text: qsTr("Clear")
                color: clear.hovered ? Theme.text : Theme.secondaryText
                font.pixelSize: Theme.textSize
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
            }
            background: Rectangle {
                radius: 5
                color: clear.down ? Theme.controlPressed : clear.hovered ? Theme.controlHovered : "transparent"

                FocusFrame {
                    control: clear
                    anchors.margins: 0
                }
            }
        }
    }
    T.AbstractButton {
        id: well

        width: parent.width
        height: Math.round(width * 9 / 16)
        hoverEnabled: true
        focusPolicy: Qt.StrongFocus
        onClicked: dialog.open()
        Keys.onReturnPressed: clicked()
        Keys.onEnterPressed: clicked()
        Keys.onDeletePressed: picture.resetWanted()
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Choose a picture: %1").arg(picture.label)
        Accessible.description: picture.isSet ? qsTr("A picture is set") : qsTr("No picture is set")
        Accessible.onPressAction: clicked()

        contentItem: Item {
            LayerItem {
                anchors.fill: parent
                visible: picture.isSet
                contents: layer.value
            }
            Column {
                anchors.centerIn: parent
                width: parent.width - 2 * Theme.space
                spacing: 7
                visible: !picture.isSet && isReading.value !== true

                Image {
                    anchors.horizontalCenter: parent.horizontalCenter
                    source: "qrc:/Interface/Icons/pictures.svg"
                    sourceSize: Qt.size(22, 22)
                    opacity: 0.7
                }
                Text {
                    width: parent.width
                    text: qsTr("Drop a picture here,\nor click to choose one")
                    color: well.hovered ? Theme.text : Theme.secondaryText
                    font.pixelSize: Theme.smallTextSize + 1
                    horizontalAlignment: Text.AlignHCenter
                    wrapMode: Text.Wrap
                }
            }
            Rectangle {
                anchors.fill: parent
                visible: isReading.value === true
                radius: Theme.radius
                color: picture.isSet ? "#a0000000" : "transparent"

                Text {
                    anchors.centerIn: parent
                    text: qsTr("Reading…")
                    color: Theme.text
                    font.pixelSize: Theme.textSize
                }
            }
        }
        background: Rectangle {
            radius: Theme.radius
            color: well.down ? Theme.controlPressed : well.hovered || drop.containsDrag ? Theme.controlHovered : Theme.control
        }

        // Lies over the picture's corners, which are square, and rounds them.
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: Theme.radius + 3
            color: "transparent"
            border.width: 3
            border.color: Theme.panel
        }
        Rectangle {
            anchors.fill: parent
            radius: Theme.radius
            color: "transparent"
            border.width: drop.containsDrag ? 2 : 1
            border.color: drop.containsDrag ? Theme.accent : well.hovered ? Theme.disabledText : Theme.line
        }
        FocusFrame {
            control: well
        }
        DropArea {
            id: drop

            anchors.fill: parent
            onEntered: drag => drag.accepted = drag.hasUrls
            onDropped: drop => {
                chosenURL.value = drop.urls[0].toString();
                drop.accept();
            }
        }
        Hint {
            control: well
            text: picture.isSet ? qsTr("Choose another picture") : ""
        }
    }
    Text {
        width: parent.width
        visible: text !== ""
        text: problem.value ?? ""
        color: Theme.accent
        font.pixelSize: Theme.smallTextSize + 1
        wrapMode: Text.Wrap
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }
    PushButton {
        width: parent.width
        text: qsTr("Use Current Picture")
        iconSource: "qrc:/Interface/Icons/camera.svg"
        Accessible.name: qsTr("Use the camera's current picture: %1").arg(picture.label)
        onClicked: useCurrent.send()
    }

    // The dialog and all that it brings are loaded when it is wanted first.
    Loader {
        id: dialog

        function open() {
            if (source == "")
                setSource("PictureDialog.qml", { currentFolder: firstFolder.value });
            item.open();
        }

        Connections {
            target: dialog.item
            function onChosen(url) {
                chosenURL.value = url;
            }
        }
    }
}
