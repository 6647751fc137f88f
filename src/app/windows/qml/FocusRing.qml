import QtQuick
import Quillmere

// Shows which control has the keyboard. Goes around its parent.
Rectangle {
    property Item control: parent
    property real controlRadius: Theme.controlRadius

    anchors.fill: parent
    anchors.margins: -3
    radius: controlRadius + 3
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
    visible: control.visualFocus === true
}
