import QtQuick
import QtQuick.Window
import Quillmere

// The recording pill.
Window {
    id: window

    property bool wasMoved: false  // by the user
    readonly property string kind: Overlay.kind
    readonly property bool hasLevel: kind === "recording" || kind === "live" || kind === "starting"
    readonly property bool isWide: !hasLevel

    // What stands at the right end, with the gap in front of it.
    readonly property real tail: kind === "working" && Overlay.keyText !== "" ? cancelKey.implicitWidth + 16
        : kind === "ready" ? copyButton.implicitWidth + 16
        : kind === "question" ? yesButton.implicitWidth + noButton.implicitWidth + 24 : 0
    readonly property real lead: kind === "question" ? 15 : 39  // where the words begin

    width: Math.max(200, Math.min(360, Math.ceil(isWide ? lead + label.implicitWidth + tail + 16 : 200)))
    height: 40
    color: "transparent"
    title: qsTrId("recording.dialog.window.title")

    Rectangle {
        id: pill

        anchors.fill: parent
        radius: Theme.pillRadius
        color: Theme.overlayGround
        border.width: 1
        border.color: Theme.overlayLine
        opacity: window.visible ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.answer; easing.type: Easing.OutCubic } }
        Accessible.role: Accessible.StatusBar
        Accessible.name: window.hasLevel ? (window.kind === "starting" ? Overlay.text : qsTrId("recording.dialog.recording")) : Overlay.text

        DragHandler {
            target: null
            onActiveChanged: {
                if (active)
                    window.wasMoved = window.startSystemMove()
            }
        }
        TapHandler {
            enabled: window.kind === "ready" || window.kind === "onClipboard"
            onTapped: Overlay.close()
        }

        // Level and time.
        Item {
            anchors.fill: parent
            anchors.leftMargin: 15
            anchors.rightMargin: 15
            visible: window.hasLevel
            Rectangle {
                id: dot
                anchors.verticalCenter: parent.verticalCenter
                width: 10
                height: 10
                radius: 5
                color: window.kind === "live" ? Theme.overlayAccent
                    : window.kind === "starting" ? Theme.overlayDim : Theme.overlayRecording
            }
            LevelBars {
                x: (parent.width - width) / 2
                anchors.verticalCenter: parent.verticalCenter
                height: 24
                color: window.kind === "starting" ? Theme.overlayDim : Theme.overlayText
                verticalScale: Overlay.verticalScale
                running: window.visible && window.hasLevel && window.kind !== "starting" && Theme.hasAnimations
            }
            Text {
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                text: window.kind === "live" ? Overlay.text : Overlay.durationText
                font.pixelSize: Theme.pillText - 1
                color: Theme.overlayDim
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        // A sign and words.
        Item {
            x: 15
            width: 14
            height: 14
            anchors.verticalCenter: parent.verticalCenter
            visible: window.isWide && window.kind !== "question"
            Spinner {
                anchors.centerIn: parent
                visible: window.kind === "working" && window.visible
            }
            Icon {
                anchors.centerIn: parent
                visible: window.kind === "pasted" || window.kind === "ready"
                name: "check"
                size: 13
                color: Theme.overlaySuccess
            }
            Rectangle {
                anchors.centerIn: parent
                visible: window.kind === "onClipboard"
                width: 10
                height: 10
                radius: 5
                color: Theme.overlayWarning
            }
        }
        Text {
            id: label
            x: window.lead
            width: parent.width - x - window.tail - 15
            anchors.verticalCenter: parent.verticalCenter
            visible: window.isWide
            text: Overlay.text
            font.pixelSize: Theme.pillText
            color: Theme.overlayText
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        PillButton {
            id: yesButton
            anchors.right: noButton.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "question"
            keyText: qsTrId("recording.dialog.key.enter")
            text: qsTrId("recording.dialog.cancel.yes")
            onClicked: Overlay.confirmCancel()
        }
        PillButton {
            id: noButton
            anchors.right: parent.right
            anchors.rightMargin: 15
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "question"
            keyText: qsTrId("recording.dialog.key.escape")
            text: qsTrId("recording.dialog.cancel.no")
            onClicked: Overlay.dismissQuestion()
        }
        // At the right end: what can be done.
        KeyCap {
            id: cancelKey
            anchors.right: parent.right
            anchors.rightMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "working" && Overlay.keyText !== ""
            text: Overlay.keyText
            pixelSize: Theme.pillText - 2
            foreground: Theme.overlayText
            face: "transparent"
            edge: Theme.overlayLine
        }
        PillButton {
            id: copyButton
            anchors.right: parent.right
            anchors.rightMargin: 14
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "ready"
            text: qsTrId("recording.dialog.copy")
            onClicked: Overlay.copy()
        }
    }
}
