import QtQuick
import "qrc:/Interface/Controls"

/// A figure that becomes a field when it is clicked. The keys for entering and for leaving end that.
TextInput {
    id: field

    property string label
    property double number
    property int decimals
    readonly property string figure: number.toLocaleString(Qt.locale(), "f", decimals)
    signal chosen(double chosenNumber)
    signal done()

    /// Begins with \p first in place of the figure.
    function write(first) {
        readOnly = false;
        text = first;
        forceActiveFocus(Qt.OtherFocusReason);
        cursorPosition = text.length;
    }
    function finish(isWanted) {
        if (readOnly)
            return;
        readOnly = true;
        if (isWanted) {
            // People write both marks, whatever their language uses.
            const written = Number(text.trim().replace(",", "."));
            if (text.trim() !== "" && !isNaN(written))
                chosen(written);
        }
        text = Qt.binding(() => figure);
    }

    readOnly: true
    text: figure
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: "white"
    font.pixelSize: Theme.textSize
    horizontalAlignment: TextInput.AlignRight
    maximumLength: 12
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    activeFocusOnPress: false
    onAccepted: { finish(true); done(); }
    onActiveFocusChanged: {
        if (!activeFocus)
            finish(true);
    }
    Keys.onEscapePressed: { finish(false); done(); }
    Accessible.role: Accessible.EditableText
    Accessible.name: label
    Accessible.readOnly: readOnly

    MouseArea {
        anchors.fill: parent
        anchors.margins: -5
        enabled: field.readOnly
        hoverEnabled: true
        cursorShape: Qt.IBeamCursor
        onClicked: {
            field.write(field.figure);
            field.selectAll();
        }
    }
    Rectangle {
        z: -1
        anchors.fill: parent
        anchors.margins: -4
        radius: 5
        color: field.readOnly ? "transparent" : Theme.control
        border.width: field.readOnly ? 0 : 2
        border.color: Theme.accent
    }
}
