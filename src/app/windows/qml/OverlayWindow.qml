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
    readonly property bool hasCancelKey: kind === "working" && Overlay.canCancel && Overlay.cancelKey !== ""

    // What stands at the right end, with the gap in front of it.
    readonly property real tail: hasLevel ? stopButton.width + cancelButton.width + 18
        : kind === "working" && Overlay.canCancel ? cancelButton.width + (hasCancelKey ? cancelKey.implicitWidth + 8 : 0) + 12
        : kind === "ready" ? copyButton.implicitWidth + 16
        : kind === "onClipboard" && Overlay.canPasteHere
            ? hereButton.implicitWidth + (Overlay.sendTo === "" ? 0 : sendButton.implicitWidth + 16) + 18
        : kind === "question" ? yesButton.implicitWidth + noButton.implicitWidth + 24 : 0
    readonly property real lead: kind === "question" ? 15 : 39  // where the words begin
    readonly property real wanted: hasLevel ? lead + bars.width + 12 + Math.max(30, time.implicitWidth) + tail + 8
        : lead + label.implicitWidth + tail + 16

    width: Math.max(200, Math.min(Overlay.canPasteHere ? 640 : 360, Math.ceil(wanted)))
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
            gesturePolicy: TapHandler.ReleaseWithinBounds  // the buttons' clicks are theirs
            onTapped: Overlay.groundClicked()
        }

        // Level and time.
        Item {
            anchors.fill: parent
            anchors.leftMargin: 15
            anchors.rightMargin: window.tail + 8
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
                id: bars
                x: window.lead - 15
                anchors.verticalCenter: parent.verticalCenter
                height: 24
                color: window.kind === "starting" ? Theme.overlayDim : Theme.overlayText
                verticalScale: Overlay.verticalScale
                running: window.visible && window.hasLevel && window.kind !== "starting" && Theme.hasAnimations
            }
            PlainText {
                id: time
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
                visible: window.kind === "onClipboard" || window.kind === "notice"
                width: 10
                height: 10
                radius: 5
                color: window.kind === "notice" ? Theme.overlayDim : Theme.overlayWarning
            }
        }
        PlainText {
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
            keyText: Overlay.stopKey
            text: qsTrId("recording.dialog.cancel.yes")
            onClicked: Overlay.confirmCancel()
        }
        PillButton {
            id: noButton
            anchors.right: parent.right
            anchors.rightMargin: 15
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "question"
            keyText: Overlay.cancelKey
            text: qsTrId("recording.dialog.cancel.no")
            onClicked: Overlay.dismissQuestion()
        }
        // At the right end: what can be done.
        PillIconButton {
            id: stopButton
            anchors.right: cancelButton.left
            anchors.rightMargin: 6
            anchors.verticalCenter: parent.verticalCenter
            visible: window.hasLevel
            iconName: "stop"
            text: qsTrId("recording.dialog.finish")
            keyText: Overlay.stopKey
            onClicked: Overlay.finish()
        }
        PillIconButton {
            id: cancelButton
            anchors.right: parent.right
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            visible: Overlay.canCancel
            iconName: "close"
            text: window.hasLevel ? qsTrId("recording.dialog.throwAway") : qsTrId("recording.dialog.cancel")
            keyText: Overlay.cancelKey
            onClicked: Overlay.cancel()
        }
        KeyCap {
            id: cancelKey
            anchors.right: cancelButton.left
            anchors.rightMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            visible: window.hasCancelKey
            text: Overlay.cancelKey
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
        // For a text that waits because the user typed elsewhere.
        PillButton {
            id: hereButton
            anchors.right: sendButton.visible ? sendButton.left : parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "onClipboard" && Overlay.canPasteHere
            text: qsTrId("recording.dialog.pasteHere")
            onClicked: Overlay.pasteHere()
        }
        PillButton {
            id: sendButton
            anchors.right: parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            visible: window.kind === "onClipboard" && Overlay.sendTo !== ""
            text: qsTrId("recording.dialog.sendTo").arg(Overlay.sendTo)
            onClicked: Overlay.sendToTarget()
        }
    }
}
