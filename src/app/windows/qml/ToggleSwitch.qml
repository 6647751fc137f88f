import QtQuick
import QtQuick.Templates as T
import Quillmere

T.Switch {
    id: control

    property string name: text  // for screen readers

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: Math.max(26, implicitContentHeight)
    leftPadding: text === "" ? 38 : 48
    font.pixelSize: Theme.body
    focusPolicy: Qt.StrongFocus
    Accessible.role: Accessible.CheckBox
    Accessible.name: name
    Accessible.checked: checked
    Keys.onReturnPressed: switchByKey()
    Keys.onEnterPressed: switchByKey()

    function switchByKey() {
        toggle()
        toggled()  // as by a click
    }

    contentItem: PlainText {
        text: control.text
        font: control.font
        color: Theme.text
        verticalAlignment: Text.AlignVCenter
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
    indicator: Rectangle {
        y: (control.height - height) / 2
        width: 36
        height: 20
        radius: 10
        color: control.checked ? Theme.accent : Theme.sunken
        border.width: control.checked ? 0 : 1
        border.color: Theme.dim
        Rectangle {
            x: control.checked ? 18 : 2
            y: 2
            width: 16
            height: 16
            radius: 8
            color: control.checked ? Theme.onAccent : Theme.dim
            Behavior on x { NumberAnimation { duration: Theme.answer; easing.type: Easing.OutCubic } }
        }
        FocusRing { control: control; controlRadius: 10 }
    }
}
