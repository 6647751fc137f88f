import QtQuick
import QtQuick.Layouts
import Quillmere

ColumnLayout {
    id: step

    readonly property string toggleName: "toggleRecordingWithTranscription"
    readonly property string proposal: "Ctrl+Alt+D"

    spacing: 12
    Card {
        Layout.fillWidth: true
        implicitHeight: keys.implicitHeight + 32
        color: FirstRun.isLit ? Theme.softAccent : Theme.surface
        border.color: FirstRun.isLit ? Theme.accent : Theme.line
        Behavior on color { ColorAnimation { duration: Theme.answer } }
        ColumnLayout {
            id: keys
            x: 16
            y: 16
            width: parent.width - 32
            spacing: 12
            RowLayout {
                spacing: 12
                PlainText {
                    Layout.fillWidth: true
                    text: qsTrId("shortcuts.title.toggleRecordingWithTranscription")
                    font.pixelSize: Theme.body
                    font.weight: Font.DemiBold
                    color: Theme.text
                    wrapMode: Text.Wrap
                }
                ActionButton {
                    visible: Shortcuts.isAvailable && Shortcuts.toggleKeys === "" && Shortcuts.recordingName === ""
                    kind: "primary"
                    text: qsTrId("firstRun.shortcut.take").arg(step.proposal)
                    onClicked: Shortcuts.choose(step.toggleName, step.proposal)
                }
                KeyCap {
                    visible: !Shortcuts.isAvailable
                    text: "quillmere toggle"
                }
                KeyRecorder {
                    visible: Shortcuts.isAvailable
                    shortcutName: step.toggleName
                    title: qsTrId("shortcuts.title.toggleRecordingWithTranscription")
                    keepsPlace: false
                    keys: Shortcuts.toggleKeys
                    isRecording: Shortcuts.recordingName === step.toggleName
                }
            }
            RowLayout {
                spacing: 8
                Icon {
                    visible: FirstRun.hasLit || Shortcuts.toggleProblem !== ""
                    name: Shortcuts.toggleProblem !== "" ? "warning" : "check"
                    color: Shortcuts.toggleProblem !== "" ? Theme.warning : Theme.success
                }
                PlainText {
                    Layout.fillWidth: true
                    text: !Shortcuts.isAvailable ? qsTrId("firstRun.shortcut.unavailable")
                        : Shortcuts.toggleProblem !== "" ? Shortcuts.toggleProblem
                        : Shortcuts.recordingName !== "" ? qsTrId("shortcuts.press.hint")
                        : FirstRun.hasLit ? qsTrId("firstRun.shortcut.works")
                        : Shortcuts.toggleKeys !== "" ? qsTrId("firstRun.shortcut.tryIt").arg(Shortcuts.toggleKeys)
                        : qsTrId("shortcuts.describe.toggleRecordingWithTranscription")
                    font.pixelSize: Theme.body
                    color: Shortcuts.toggleProblem !== "" || !Shortcuts.isAvailable ? Theme.warning
                        : FirstRun.hasLit ? Theme.success : Theme.dim
                    wrapMode: Text.Wrap
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
    }
    Card {
        Layout.fillWidth: true
        visible: Shortcuts.isAvailable
        implicitHeight: held.implicitHeight + 20
        SettingRow {
            id: held
            x: 16
            y: 10
            width: parent.width - 32
            title: qsTrId("firstRun.shortcut.hold")
            detail: Shortcuts.pushToTalkProblem !== "" ? Shortcuts.pushToTalkProblem : Shortcuts.pushToTalkDetail
            detailColor: Shortcuts.pushToTalkProblem !== "" ? Theme.warning : Theme.dim
            ChoiceBox {
                name: qsTrId("firstRun.shortcut.hold")
                choices: Shortcuts.pushToTalkChoices.filter(choice => choice.value !== "custom" || Shortcuts.pushToTalkMode === "custom")
                value: Shortcuts.pushToTalkMode
                onChosen: value => Shortcuts.pushToTalkMode = value
            }
        }
    }
}
