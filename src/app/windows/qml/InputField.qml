import QtQuick
import QtQuick.Templates as T
import Quillmere

T.TextField {
    id: control

    property string name: placeholderText  // for screen readers
    property string iconName

    implicitWidth: 220
    implicitHeight: Math.max(34, contentHeight + 14)
    leftPadding: iconName === "" ? 12 : 34
    rightPadding: 12
    verticalAlignment: TextInput.AlignVCenter
    font.pixelSize: Theme.body
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: Theme.onAccent
    placeholderTextColor: Theme.dim
    selectByMouse: true
    Accessible.role: Accessible.EditableText
    Accessible.name: name

    Icon {
        visible: control.iconName !== ""
        x: 11
        anchors.verticalCenter: parent.verticalCenter
        name: control.iconName
        color: Theme.dim
    }
    PlainText {
        x: control.leftPadding
        width: control.width - control.leftPadding - control.rightPadding
        anchors.verticalCenter: parent.verticalCenter
        visible: control.length === 0 && control.preeditText === ""
        text: control.placeholderText
        font: control.font
        color: control.placeholderTextColor
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.surface
        border.width: control.activeFocus ? 2 : 1
        border.color: control.activeFocus ? Theme.accent : Theme.line
    }
}
