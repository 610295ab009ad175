import QtQuick
import QtQuick.Templates as T

/// A line of text that narrows a list down. The key for leaving empties it, then gives the keyboard up.
T.TextField {
    id: field

    signal searched(string words)
    /// The user takes the first of what was found.
    signal firstWanted()
    /// The user wants to go on in the list, with the key for moving down or the one for entering.
    signal done()

    implicitHeight: Theme.controlHeight
    leftPadding: 32
    rightPadding: 30
    verticalAlignment: Text.AlignVCenter
    color: Theme.text
    placeholderTextColor: Theme.secondaryText
    selectionColor: Theme.accent
    selectedTextColor: "white"
    selectByMouse: true
    hoverEnabled: true
    font.pixelSize: Theme.textSize
    onTextChanged: searched(text)
    onAccepted: {
        if (text !== "")
            firstWanted();
        done();
    }
    Keys.onDownPressed: done()
    Keys.onEscapePressed: {
        if (text === "")
            done();
        clear();
    }
    Accessible.role: Accessible.EditableText
    Accessible.name: placeholderText
    Accessible.searchEdit: true

    Text {
        x: field.leftPadding
        width: field.width - field.leftPadding - field.rightPadding
        height: field.height
        verticalAlignment: Text.AlignVCenter
        visible: field.text === "" && field.preeditText === ""
        text: field.placeholderText
        color: field.placeholderTextColor
        font: field.font
        elide: Text.ElideRight
    }
    Image {
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/Interface/Icons/search.svg"
        sourceSize: Qt.size(16, 16)
    }
    T.AbstractButton {
        anchors.right: parent.right
        width: 30
        height: parent.height
        visible: field.text !== ""
        hoverEnabled: true
        focusPolicy: Qt.NoFocus
        onClicked: field.clear()
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Clear the search")
        Accessible.onPressAction: clicked()

        contentItem: Item {
            Image {
                anchors.centerIn: parent
                source: "qrc:/Interface/Icons/clear.svg"
                sourceSize: Qt.size(14, 14)
                opacity: parent.parent.hovered ? 1 : 0.7
            }
        }
    }
    background: Rectangle {
        radius: Theme.radius
        color: field.hovered || field.activeFocus ? Theme.controlHovered : Theme.control

        Rectangle {
            anchors.fill: parent
            anchors.margins: -2
            radius: Theme.radius + 2
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: field.activeFocus
        }
    }
}
