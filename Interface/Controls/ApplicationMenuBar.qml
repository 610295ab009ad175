import QtQml.Models
import QtQuick
import QtQuick.Templates as T
import Tovrin.Interface

/// The application's menus, as the main menu's file names them.
T.MenuBar {
    id: bar

    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: 30
    leftPadding: 6
    rightPadding: 6

    contentItem: Row {
        Repeater {
            model: bar.contentModel
        }
    }
    background: Rectangle {
        color: Theme.panel
    }

    delegate: T.MenuBarItem {
        id: title

        implicitWidth: label.implicitWidth + 20
        implicitHeight: 30
        hoverEnabled: true
        Accessible.role: Accessible.MenuItem
        Accessible.name: menu ? menu.accessibleTitle : ""

        contentItem: Text {
            id: label
            text: title.menu ? title.menu.accessibleTitle : ""
            color: Theme.text
            font.pixelSize: Theme.textSize
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 5
            anchors.fill: parent
            anchors.margins: 3
            color: title.highlighted || title.hovered ? Theme.controlHovered : "transparent"
        }
    }

    MenuBarModel {
        id: applicationMenus
    }

    Instantiator {
        model: applicationMenus.menus
        onObjectAdded: (index, menu) => bar.insertMenu(index, menu)

        delegate: T.Menu {
            id: menu

            required property var modelData
            readonly property string accessibleTitle: modelData.title

            title: "&" + modelData.title
            implicitWidth: 260
            implicitHeight: contentItem.implicitHeight + 12
            padding: 6
            y: parent ? parent.height : 0

            contentItem: ListView {
                implicitHeight: contentHeight
                model: menu.contentModel
                interactive: false
                currentIndex: menu.currentIndex
            }
            background: Rectangle {
                radius: Theme.radius
                color: Theme.control
                border.color: Theme.line
            }

            Repeater {
                model: menu.modelData.entries

                T.MenuItem {
                    id: entry

                    required property var modelData
                    readonly property bool isLine: modelData.title === ""

                    implicitWidth: 248
                    implicitHeight: isLine ? 9 : 30
                    enabled: !isLine
                    hoverEnabled: true
                    text: modelData.title
                    Accessible.role: isLine ? Accessible.Separator : Accessible.MenuItem
                    Accessible.name: text
                    Accessible.description: modelData.keyEquivalent

                    onTriggered: modelData.choose()

                    contentItem: Item {
                        visible: !entry.isLine

                        Text {
                            anchors.left: parent.left
                            anchors.leftMargin: 10
                            anchors.verticalCenter: parent.verticalCenter
                            text: entry.text
                            color: entry.highlighted ? "white" : Theme.text
                            font.pixelSize: Theme.textSize
                        }
                        Text {
                            anchors.right: parent.right
                            anchors.rightMargin: 10
                            anchors.verticalCenter: parent.verticalCenter
                            text: entry.modelData.keyEquivalent
                            color: entry.highlighted ? "white" : Theme.secondaryText
                            font.pixelSize: Theme.smallTextSize + 1
                        }
                    }
                    background: Rectangle {
                        x: entry.isLine ? 4 : 0
                        y: entry.isLine ? 4 : 0
                        width: entry.width - 2 * x
                        height: entry.isLine ? 1 : entry.height
                        radius: entry.isLine ? 0 : 5
                        color: entry.isLine ? Theme.line : entry.highlighted ? Theme.accent : "transparent"
                    }
                }
            }
        }
    }
}
