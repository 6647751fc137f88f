import QtQuick
import QtQuick.Templates as T
import Quillmere

// kind: "plain", "primary", "quiet" (text only) or "danger".
T.Button {
    id: control

    property string kind: "plain"
    property string iconName
    property string name: text  // for screen readers
    property bool isStrong: kind === "primary"
    readonly property string hint: text === "" ? name : ""

    readonly property color foreground: !enabled ? Theme.dim
        : kind === "primary" ? Theme.onAccent
        : kind === "danger" ? Theme.recording
        : kind === "quiet" ? (isStrong ? Theme.accent : hovered || visualFocus ? Theme.text : Theme.dim)
        : Theme.text

    implicitWidth: Math.max(implicitContentWidth + leftPadding + rightPadding, kind === "quiet" ? 0 : 64)
    implicitHeight: Math.max(kind === "quiet" ? 26 : 34, implicitContentHeight + topPadding + bottomPadding)
    leftPadding: kind === "quiet" ? 6 : 13
    rightPadding: leftPadding
    topPadding: 4
    bottomPadding: 4
    font.pixelSize: kind === "quiet" ? Theme.small : Theme.body
    font.weight: isStrong ? Font.DemiBold : Font.Normal
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: name
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    // A button that goes away hands the keyboard to what holds it: the row, the list or the page.
    onVisibleChanged: if (!visible && activeFocus) passFocus()
    onEnabledChanged: if (!enabled && focus) passFocus()

    function passFocus() {
        const now = Window.activeFocusItem
        if (now && now.visible && !isAround(now))
            return
        for (let up = parent; up; up = up.parent) {
            if (up.visible && up.takeFocus)
                return up.takeFocus()
        }
    }
    function isAround(item) {
        for (let up = control; up; up = up.parent) {
            if (up === item)
                return true
        }
        return false
    }

    Loader {
        active: control.hint !== "" && (control.hovered || control.visualFocus)
        sourceComponent: Hint {
            parent: control
            text: control.hint
        }
    }
    contentItem: Item {
        implicitWidth: row.implicitWidth
        implicitHeight: row.implicitHeight
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 7
            Icon {
                visible: control.iconName !== ""
                anchors.verticalCenter: parent.verticalCenter
                name: control.iconName
                color: control.foreground
                size: control.kind === "quiet" ? 14 : 16
            }
            PlainText {
                visible: control.text !== ""
                anchors.verticalCenter: parent.verticalCenter
                text: control.text
                font: control.font
                color: control.foreground
                Accessible.ignored: true
            }
        }
    }

    background: Rectangle {
        radius: Theme.controlRadius
        color: control.kind === "primary" ? (control.enabled ? Theme.accent : Theme.sunken)
            : control.kind === "quiet" ? (control.hovered || control.down ? Theme.sunken : "transparent")
            : control.hovered ? Theme.sunken : Theme.surface
        opacity: control.kind === "primary" && (control.hovered || control.down) ? 0.9 : 1
        border.width: control.kind === "quiet" || control.kind === "primary" ? 0 : 1
        border.color: Theme.line
        Behavior on color { ColorAnimation { duration: Theme.answer } }
        FocusRing { control: control }
    }
}
