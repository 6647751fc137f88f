import QtQuick
import QtQuick.Window
import Quillmere

// One short message. The word of a mode is a narrow pill; sentences have 360 and as many lines as they need.
Window {
    id: window

    property string kind: "notice"  // "notice", "critical" or "mode"
    property string message
    property QtObject toast: null

    width: kind === "mode" ? Math.max(200, Math.min(360, Math.ceil(text.implicitWidth + 60))) : 360
    height: Math.max(40, Math.ceil(text.contentHeight + 18))
    color: "transparent"

    Rectangle {
        anchors.fill: parent
        radius: Theme.pillRadius
        color: Theme.overlayGround
        border.width: 1
        border.color: window.kind === "critical" ? Theme.overlayRecording : Theme.overlayLine
        Accessible.role: Accessible.AlertMessage
        Accessible.name: window.message

        Item {
            id: mark
            x: 15
            width: 14
            height: 14
            anchors.verticalCenter: parent.verticalCenter
            Icon {
                anchors.centerIn: parent
                visible: window.kind !== "notice"
                name: window.kind === "mode" ? "diamond" : "warning"
                size: 14
                color: window.kind === "mode" ? Theme.overlayAccent : Theme.overlayRecording
            }
            Rectangle {
                anchors.centerIn: parent
                visible: window.kind === "notice"
                width: 10
                height: 10
                radius: 5
                color: Theme.overlayWarning
            }
        }
        PlainText {
            id: text
            x: 40
            width: window.kind === "mode" ? 360 - 60 : parent.width - x - 18
            anchors.verticalCenter: parent.verticalCenter
            text: window.message
            font.pixelSize: Theme.toastText
            color: Theme.overlayText
            wrapMode: window.kind === "mode" ? Text.NoWrap : Text.Wrap
            elide: window.kind === "mode" ? Text.ElideRight : Text.ElideNone
            Accessible.ignored: true
        }
        TapHandler {
            onTapped: if (window.toast) window.toast.dismiss()
        }
    }
}
