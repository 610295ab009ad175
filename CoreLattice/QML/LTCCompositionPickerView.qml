import QtQuick
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// The compositions as tiles, and beside them a field and a menu that narrow them down.
FocusScope {
    id: picker

    required property var view

    KeyBinding { id: categories; object: picker.view; keyPath: "categories" }
    KeyBinding { id: category; object: picker.view; keyPath: "category" }
    KeyBinding { id: searchText; object: picker.view; keyPath: "searchText" }
    KeyBinding { id: notice; object: picker.view; keyPath: "notice" }

    Shortcut {
        sequences: [StandardKey.Find]
        onActivated: search.forceActiveFocus(Qt.ShortcutFocusReason)
    }
    Column {
        id: narrowing

        x: 14
        anchors.verticalCenter: parent.verticalCenter
        width: 168
        spacing: 8

        SearchField {
            id: search

            width: parent.width
            placeholderText: qsTr("Search filters")
            onSearched: words => searchText.value = words
            onFirstWanted: strip.choose(0)
            onDone: strip.forceActiveFocus(Qt.TabFocusReason)
        }
        PopUpButton {
            id: menu

            readonly property string all: qsTr("All categories")

            width: parent.width
            label: qsTr("Category")
            choices: [all].concat(categories.value ?? [])
            choice: category.value ? category.value : all
            selection: QtObject {
                property string value
                onValueChanged: category.value = value === menu.all ? "" : value
            }
        }
    }
    PickerStrip {
        id: strip

        view: picker.view
        anchors.left: narrowing.right
        anchors.leftMargin: 8
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        focus: true
        onTyped: text => {
            search.forceActiveFocus(Qt.OtherFocusReason);
            search.insert(search.length, text);
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
