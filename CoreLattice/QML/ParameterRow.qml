import QtQuick
import QtQuick.Templates as T
import Tovrin.Interface
import "qrc:/Interface/Controls"

/// One parameter: its label, and the control that its type asks for.
Item {
    id: row

    required property var parameter
    readonly property string kind: type.value ?? ""
    // The bindings have names that no control has for itself: inside a control its own names come first.
    readonly property var number: valueBinding.value

    implicitHeight: controls.item ? controls.item.implicitHeight : 0

    KeyBinding { id: type; object: row.parameter; keyPath: "type" }
    KeyBinding { id: label; object: row.parameter; keyPath: "label" }
    KeyBinding { id: unit; object: row.parameter; keyPath: "unit" }
    KeyBinding { id: minimum; object: row.parameter; keyPath: "minimum" }
    KeyBinding { id: maximum; object: row.parameter; keyPath: "maximum" }
    KeyBinding { id: minimumUpwards; object: row.parameter; keyPath: "minimumUpwards" }
    KeyBinding { id: maximumUpwards; object: row.parameter; keyPath: "maximumUpwards" }
    KeyBinding { id: valueBinding; object: row.parameter; keyPath: "value" }
    KeyBinding { id: choices; object: row.parameter; keyPath: "labels" }
    KeyBinding { id: choiceBinding; object: row.parameter; keyPath: "selectedLabel" }
    ActionLink { id: reset; target: row.parameter; selector: "reset" }

    Loader {
        id: controls

        width: parent.width
        sourceComponent: row.kind === "number" ? slider
            : row.kind === "boolean" ? toggle
            : row.kind === "menu" ? menu
            : row.kind === "color" ? color
            : row.kind === "point" ? point
            : row.kind === "event" ? trigger
            : row.kind === "image" ? picture : null
    }

    Component {
        id: slider

        ParameterSlider {
            label: row.labelText
            from: minimum.value ?? 0
            to: maximum.value ?? 1
            number: row.number ?? 0
            unit: row.unitText
            onChosen: chosenNumber => valueBinding.value = chosenNumber
            onResetWanted: reset.send()
        }
    }
    Component {
        id: toggle

        ParameterToggle {
            label: row.labelText
            isOn: row.number === true || row.number === 1
            onChosen: on => valueBinding.value = on
        }
    }
    Component {
        id: menu

        Column {
            spacing: 6

            Text {
                text: row.labelText
                color: Theme.secondaryText
                font.pixelSize: Theme.textSize
            }
            PopUpButton {
                width: parent.width
                label: row.labelText
                choices: row.choiceTexts
                choice: row.chosenText
                selection: choiceBinding
            }
        }
    }
    Component {
        id: color

        ParameterColor {
            label: row.labelText
            components: row.number ?? [0, 0, 0, 1]
            onChosen: chosenComponents => valueBinding.value = chosenComponents
            onResetWanted: reset.send()
        }
    }
    Component {
        id: point

        ParameterPoint {
            label: row.labelText
            place: row.number ?? [0, 0]
            least: [minimum.value ?? 0, minimumUpwards.value ?? 0]
            most: [maximum.value ?? 1, maximumUpwards.value ?? 1]
            onChosen: chosenPlace => valueBinding.value = chosenPlace
            onResetWanted: reset.send()
        }
    }
    Component {
        id: picture

        ParameterPicture {
            parameter: row.parameter
            label: row.labelText
            onResetWanted: reset.send()
        }
    }
    Component {
        id: trigger

        PushButton {
            text: shownText.elidedText
            Accessible.name: row.labelText
            onClicked: valueBinding.value = true

            TextMetrics {
                id: shownText

                text: row.labelText
                font.pixelSize: Theme.textSize
                font.weight: Font.Medium
                elide: Qt.ElideRight
                elideWidth: row.width - 2 * Theme.space
            }
        }
    }

    readonly property string labelText: label.value ?? ""
    readonly property string unitText: unit.value ?? ""
    readonly property var choiceTexts: choices.value
    readonly property string chosenText: choiceBinding.value ?? ""
}
