import QtQuick
import QtQuick.Templates as T
import Quillmere

// A sign to click on the dark pill. Its name and the key that does the same are told on hovering.
T.AbstractButton {
    id: control

    property string iconName
    property string keyText

    readonly property string hint: keyText === "" ? text : text + " (" + keyText + ")"

    implicitWidth: 28
    implicitHeight: 24
    focusPolicy: Qt.NoFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: keyText
    onHoveredChanged: if (!hovered) Overlay.hideTip()
    onVisibleChanged: if (!visible) Overlay.hideTip()

    Timer {
        running: control.hovered
        interval: 500
        onTriggered: Overlay.showTip(control.hint)
    }
    contentItem: Item {
        Icon {
            anchors.centerIn: parent
            name: control.iconName
            size: 12
            color: Theme.overlayText
        }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: control.hovered || control.down ? Theme.overlayLine : "transparent"
        border.width: 1
        border.color: Theme.overlayLine
    }
}
