import QtQuick
import "qrc:/Interface/Controls"

/// A figure, with its unit, that becomes a field when it is clicked. The keys for entering and for leaving end that. The
/// unit may be written or left out.
TextInput {
    id: field

    property string label
    property double number
    property int decimals
    property string unit
    readonly property string figure: number.toLocaleString(Qt.locale(), "f", decimals)
    /// Signs stand at the figure, letters beside it.
    readonly property string figureWithUnit: unit === "" ? figure : figure + (/^[°%×/]/.test(unit) ? "" : "\u00a0") + unit
    signal chosen(double chosenNumber)
    signal done()

    /// Begins with \p first in place of the figure.
    function write(first) {
        readOnly = false;
        text = first;
        forceActiveFocus(Qt.OtherFocusReason);
        cursorPosition = text.length;
    }
    /// NaN for what is none.
    function numberIn(written) {
        let digits = written.trim();
        if (unit !== "" && digits.toLowerCase().endsWith(unit.toLowerCase()))
            digits = digits.slice(0, -unit.length).trim();
        // People write both marks, whatever their language uses.
        return digits === "" ? NaN : Number(digits.replace(",", "."));
    }
    function finish(isWanted) {
        if (readOnly)
            return;
        readOnly = true;
        const written = numberIn(text);
        if (isWanted && !isNaN(written))
            chosen(written);
        text = Qt.binding(() => figureWithUnit);
    }

    readOnly: true
    text: figureWithUnit
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: "white"
    font.pixelSize: Theme.textSize
    horizontalAlignment: TextInput.AlignRight
    maximumLength: 24
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
