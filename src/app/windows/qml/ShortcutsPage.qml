import QtQuick
import QtQuick.Layouts
import Quillmere

ScrollPage {
    id: page

    title: qsTrId("sidebar.shortcuts")
    intro: Shortcuts.isAvailable ? qsTrId("shortcuts.intro") : qsTrId("shortcuts.intro.unavailable")

    function closeWhatIsOpen() {
        if (Shortcuts.recordingName === "")
            return false
        Shortcuts.stopRecording()
        return true
    }
    Component.onDestruction: Shortcuts.stopRecording()

    // Without keys of one's own: what the desktop can give keys to.
    SettingsCard {
        visible: !Shortcuts.isAvailable
        title: qsTrId("shortcuts.section.commands")
        Repeater {
            model: ["quillmere toggle", "quillmere cancel", "quillmere show"]
            delegate: SettingRow {
                id: command
                required property string modelData
                required property int index
                title: qsTrId(["shortcuts.title.toggleRecordingWithTranscription", "shortcuts.title.cancelRecording", "shortcuts.command.show"][index])
                KeyCap { text: command.modelData }
            }
        }
    }
    SettingsCard {
        visible: Shortcuts.isAvailable
        title: qsTrId("shortcuts.section.keys")
        Repeater {
            model: Shortcuts
            delegate: SettingRow {
                id: row
                required property string name
                required property string description
                required property string keys
                required property bool isRecording
                required property string problem
                required property bool isShown
                required title

                visible: isShown && name !== "pushToTalk"
                detail: problem !== "" ? problem
                    : isRecording ? qsTrId(name === "cancelRecording" ? "shortcuts.press.hint.cancel" : "shortcuts.press.hint")
                    : description
                detailColor: problem !== "" ? Theme.warning : Theme.dim
                KeyRecorder {
                    shortcutName: row.name
                    title: row.title
                    keys: row.keys
                    isRecording: row.isRecording
                }
            }
        }
    }
    SettingsCard {
        visible: Shortcuts.isAvailable
        title: qsTrId("shortcuts.section.pushToTalk")
        SettingRow {
            title: qsTrId("shortcuts.pushToTalk.title")
            detail: Shortcuts.pushToTalkProblem !== "" ? Shortcuts.pushToTalkProblem : Shortcuts.pushToTalkDetail
            detailColor: Shortcuts.pushToTalkProblem !== "" ? Theme.warning : Theme.dim
            ChoiceBox {
                name: qsTrId("shortcuts.pushToTalk.title")
                choices: Shortcuts.pushToTalkChoices
                value: Shortcuts.pushToTalkMode
                onChosen: value => Shortcuts.pushToTalkMode = value
            }
        }
        Repeater {
            model: Shortcuts
            delegate: SettingRow {
                id: held
                required property string name
                required property string description
                required property string keys
                required property bool isRecording
                required property string problem
                required property bool isShown
                required title

                visible: isShown && name === "pushToTalk"
                detail: problem !== "" ? problem : isRecording ? qsTrId("shortcuts.press.hint") : description
                detailColor: problem !== "" ? Theme.warning : Theme.dim
                KeyRecorder {
                    shortcutName: held.name
                    title: held.title
                    keys: held.keys
                    isRecording: held.isRecording
                }
            }
        }
        SettingRow {
            visible: Shortcuts.isModifierHeld
            title: qsTrId("shortcuts.doublePress.title")
            detail: qsTrId("shortcuts.doublePress.detail")
            ToggleSwitch {
                name: qsTrId("shortcuts.doublePress.title")
                checked: Shortcuts.isDoublePressEnabled
                onToggled: {
                    const wanted = checked
                    checked = Qt.binding(() => Shortcuts.isDoublePressEnabled)
                    Shortcuts.isDoublePressEnabled = wanted
                }
            }
        }
    }
}
