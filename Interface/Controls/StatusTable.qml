import QtQuick

/// The rows of a table, each a line of text.
ListView {
    id: table

    property var rows: []
    property string label

    model: rows
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: true
    Accessible.role: Accessible.Table
    Accessible.name: label

    delegate: Rectangle {
        id: row

        required property string modelData
        required property int index

        width: table.width
        height: 28
        color: index % 2 === 0 ? Theme.panel : Theme.window
        Accessible.role: Accessible.Cell
        Accessible.name: modelData

        Text {
            anchors.fill: parent
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            text: row.modelData
            color: Theme.text
            font.pixelSize: Theme.textSize
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
    }
}
