import QtQuick
import QtQuick.Templates as T
import Quillmere

// A small button on the dark pill: the key, and what it does. Clicked with the mouse; the pill never has the keyboard.
T.AbstractButton {
    id: control

    property string keyText

    // Summed up rather than left to a positioner, which knows its size one frame later.
    implicitWidth: (keyText === "" ? 0 : cap.implicitWidth + (text === "" ? 0 : 6)) + (text === "" ? 0 : label.implicitWidth)
    implicitHeight: 26
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text === "" ? keyText : text
    contentItem: Item {
        KeyCap {
            id: cap
            visible: control.keyText !== ""
            anchors.verticalCenter: parent.verticalCenter
            text: control.keyText
            pixelSize: Theme.pillText - 2
            foreground: Theme.overlayText
            face: control.hovered ? Theme.overlayLine : "transparent"
            edge: Theme.overlayLine
        }
        PlainText {
            id: label
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: control.text
            font.pixelSize: Theme.pillText
            font.underline: control.hovered
            color: Theme.overlayText
            Accessible.ignored: true
        }
    }
}
