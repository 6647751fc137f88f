import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

// The first run, in front of everything else in the window.
FocusScope {
    id: page

    focus: true

    readonly property var titles: ["firstRun.microphone.title", "firstRun.model.title", "firstRun.shortcut.title", "firstRun.try.title"]
    readonly property var intros: ["firstRun.microphone.intro", "firstRun.model.intro", "firstRun.shortcut.intro", "firstRun.try.intro"]
    readonly property var introsWithoutKeys: ["firstRun.microphone.intro", "firstRun.model.intro", "firstRun.shortcut.intro.unavailable", "firstRun.try.intro.unavailable"]
    readonly property var files: ["FirstRunMicrophone.qml", "FirstRunModel.qml", "FirstRunShortcut.qml", "FirstRunTry.qml"]

    function takeFocus() {
        forward.forceActiveFocus(Qt.TabFocusReason)
    }
    function closeWhatIsOpen() {
        if (Shortcuts.recordingName === "")
            return false
        Shortcuts.stopRecording()
        return true
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.ground
    }
    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: 32
        anchors.bottomMargin: 28
        anchors.leftMargin: Math.max(40, (parent.width - 660) / 2)
        anchors.rightMargin: anchors.leftMargin
        spacing: 8

        Row {
            id: marks
            spacing: 6
            Accessible.role: Accessible.StaticText
            Accessible.name: qsTrId("firstRun.progress").arg(FirstRun.step + 1).arg(FirstRun.stepCount)
            Repeater {
                model: FirstRun.stepCount
                delegate: Rectangle {
                    required property int index
                    width: 26
                    height: 4
                    radius: 2
                    color: index <= FirstRun.step ? Theme.accent : Theme.line
                }
            }
        }
        PlainText {
            Layout.fillWidth: true
            Layout.topMargin: 10
            text: qsTrId(page.titles[FirstRun.step])
            font.pixelSize: Theme.title
            font.weight: Font.DemiBold
            color: Theme.text
            wrapMode: Text.Wrap
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        PlainText {
            Layout.fillWidth: true
            Layout.bottomMargin: 8
            text: qsTrId((Shortcuts.isAvailable ? page.intros : page.introsWithoutKeys)[FirstRun.step])
            font.pixelSize: Theme.body
            lineHeight: 1.25
            color: Theme.dim
            wrapMode: Text.Wrap
        }
        Flickable {
            id: view
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: -4  // room for the ring of the focus
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            contentWidth: width
            contentHeight: stepLoader.height + 8
            T.ScrollBar.vertical: ScrollMark {}
            Loader {
                id: stepLoader
                x: 4
                y: 4
                width: view.width - 8
                source: page.files[FirstRun.step]
                onLoaded: view.contentY = 0
            }
        }
        RowLayout {
            Layout.topMargin: 8
            spacing: 12
            MeterBars {
                visible: FirstRun.step > 0 && App.isRecording
                value: App.level
                name: qsTrId("firstRun.microphone.level")
            }
            Icon {
                visible: FirstRun.step > 0 && Microphone.hasHeard && !App.isRecording
                name: "check"
                color: Theme.success
            }
            PlainText {
                Layout.fillWidth: true
                visible: FirstRun.step > 0 && Microphone.hasHeard
                text: Microphone.statusText
                font.pixelSize: Theme.small
                color: Theme.dim
                elide: Text.ElideRight
            }
            Item {
                Layout.fillWidth: true
                visible: !(FirstRun.step > 0 && Microphone.hasHeard)
            }
            ActionButton {
                visible: FirstRun.step > 0
                text: qsTrId("firstRun.back")
                onClicked: FirstRun.back()
            }
            ActionButton {
                id: forward
                focus: true
                kind: FirstRun.isStepDone ? "primary" : "plain"
                text: FirstRun.step === FirstRun.stepCount - 1 ? qsTrId("firstRun.finish")
                    : FirstRun.isStepDone ? qsTrId("firstRun.continue") : qsTrId("firstRun.skip")
                onClicked: FirstRun.next()
            }
        }
    }
}
