import QtQuick
import QtQuick.Templates as T
import Quillmere

T.ScrollBar {
    id: control

    implicitWidth: 8
    implicitHeight: 8
    padding: 1
    minimumSize: 0.06
    focusPolicy: Qt.NoFocus
    Accessible.ignored: true
    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: Theme.dim
        opacity: control.size < 1 && (control.active || control.hovered || control.pressed) ? 0.6 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.move } }
    }
}
