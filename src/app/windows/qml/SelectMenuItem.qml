import QtQuick
import QtQuick.Templates as T
import Quillmere

T.MenuItem {
    id: control

    property bool isDanger: false

    implicitWidth: label.implicitWidth + 24
    implicitHeight: visible ? 30 : 0
    font.pixelSize: Theme.body
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    contentItem: PlainText {
        id: label
        leftPadding: 8
        text: control.text
        font: control.font
        color: !control.enabled ? Theme.dim : control.isDanger ? Theme.recording : Theme.text
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: 4
        color: control.highlighted ? Theme.sunken : "transparent"
    }
}
