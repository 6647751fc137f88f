import QtQuick
import QtQuick.Templates as T
import Quillmere

// A number to type or to step. The chosen number is told, not kept: `number` follows its source.
T.SpinBox {
    id: control

    property string name  // for screen readers
    property real number: 0
    property real maximum: 3600
    readonly property int parts: 10  // of one
    signal chosen(real number)

    implicitWidth: 96
    implicitHeight: Math.max(34, implicitContentHeight + 14)
    leftPadding: 12
    rightPadding: 28
    font.pixelSize: Theme.body
    editable: true
    from: 0
    to: maximum * parts
    stepSize: parts
    value: Math.round(number * parts)
    inputMethodHints: Qt.ImhFormattedNumbersOnly
    validator: RegularExpressionValidator { regularExpression: /[0-9]{0,5}([.,][0-9]?)?/ }
    textFromValue: (value, locale) => String(value / parts).replace(".", locale.decimalPoint)
    valueFromText: (text, locale) => {
        const typed = Number(text.replace(",", "."))
        return text === "" || isNaN(typed) ? value : Math.round(typed * parts)
    }
    onValueModified: {
        const wanted = value / parts
        value = Qt.binding(() => Math.round(number * parts))
        chosen(wanted)
    }
    Accessible.name: name

    contentItem: TextInput {
        text: control.displayText
        font: control.font
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.onAccent
        selectByMouse: true
        horizontalAlignment: TextInput.AlignRight
        verticalAlignment: TextInput.AlignVCenter
        readOnly: !control.editable
        validator: control.validator
        inputMethodHints: control.inputMethodHints
        Accessible.name: control.name
    }
    component Arrow: Item {
        property bool isUp: false
        x: control.width - 26
        y: isUp ? 3 : control.height / 2
        implicitWidth: 23
        implicitHeight: control.height / 2 - 3
        Icon {
            anchors.centerIn: parent
            name: "down"
            rotation: parent.isUp ? 180 : 0
            size: 10
            color: Theme.dim
        }
    }
    up.indicator: Arrow { isUp: true }
    down.indicator: Arrow {}
    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.surface
        border.width: control.activeFocus ? 2 : 1
        border.color: control.activeFocus ? Theme.accent : Theme.line
    }
}
