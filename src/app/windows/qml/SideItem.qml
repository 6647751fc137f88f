import QtQuick
import QtQuick.Templates as T
import Quillmere

// An entry of the sidebar.
T.Button {
    id: control

    property string iconName
    property bool isCurrent: false
    signal stepped(int by)

    readonly property color foreground: isCurrent ? Theme.accent : hovered ? Theme.text : Theme.dim

    implicitHeight: Math.max(34, label.implicitHeight + 14)
    // One stop for Tab, which the item is until it has let the keyboard go; the arrow keys go through the pages.
    focusPolicy: isCurrent || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    hoverEnabled: true
    font.pixelSize: Theme.body
    font.weight: isCurrent ? Font.DemiBold : Font.Normal
    Accessible.role: Accessible.PageTab
    Accessible.name: text
    Accessible.selected: isCurrent
    Accessible.selectable: true
    Keys.onUpPressed: stepped(-1)
    Keys.onDownPressed: stepped(1)
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Icon {
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            name: control.iconName
            color: control.foreground
        }
        PlainText {
            id: label
            x: 36
            width: parent.width - x - 6
            anchors.verticalCenter: parent.verticalCenter
            text: control.text
            font: control.font
            color: control.foreground
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: control.isCurrent ? Theme.softAccent : "transparent"
        Behavior on color { ColorAnimation { duration: Theme.answer } }
        FocusRing { control: control }
    }
}
