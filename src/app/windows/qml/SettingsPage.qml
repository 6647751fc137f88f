import QtQuick
import QtQuick.Layouts
import Quillmere

ScrollPage {
    id: page

    title: qsTrId("sidebar.settings")

    SettingsCard {
        title: qsTrId("settings.section.microphone")
        SettingRow {
            title: qsTrId("settings.microphone.title")
            detail: Microphone.activeName === "" || !Microphone.hasMicrophone ? qsTrId("app.microphone.none")
                : qsTrId("settings.microphone.detail").arg(Microphone.activeName)
            ChoiceBox {
                name: qsTrId("settings.microphone.title")
                choices: Microphone.choices
                value: Microphone.selectedId
                onChosen: value => Microphone.selectedId = value
            }
        }
        SettingSwitch {
            key: "autoIncreaseMicVolume"
            title: qsTrId("settings.autoIncreaseMicVolume.title")
            detail: qsTrId("settings.autoIncreaseMicVolume.detail")
        }
        SettingRow {
            title: qsTrId("settings.mediaControlMode.title")
            detail: qsTrId("settings.mediaControlMode.detail")
            ChoiceBox {
                name: qsTrId("settings.mediaControlMode.title")
                choices: Preferences.mediaControlChoices
                value: Preferences.values.mediaControlMode
                onChosen: value => Preferences.set("mediaControlMode", value)
            }
        }
        SettingSwitch {
            key: "enableVAD"
            title: qsTrId("settings.enableVAD.title")
            detail: qsTrId("settings.enableVAD.detail")
        }
    }
    SettingsCard {
        title: qsTrId("settings.section.text")
        SettingSwitch {
            key: "applyVocabularyWithoutRewriting"
            title: qsTrId("settings.applyVocabularyWithoutRewriting.title")
            detail: qsTrId("settings.applyVocabularyWithoutRewriting.detail")
        }
        SettingSwitch {
            key: "pasteResultText"
            title: qsTrId("settings.pasteResultText.title")
            detail: qsTrId("settings.pasteResultText.detail")
        }
        SettingSwitch {
            key: "enableAccessibility"
            title: qsTrId("settings.enableAccessibility.title")
            detail: qsTrId("settings.enableAccessibility.detail")
        }
        SettingSwitch {
            key: "restoreClipboardAfterPaste"
            title: qsTrId("settings.restoreClipboardAfterPaste.title")
            detail: qsTrId("settings.restoreClipboardAfterPaste.detail")
        }
        SettingRow {
            visible: Preferences.values.restoreClipboardAfterPaste === true
            title: qsTrId("settings.clipboardRestoreDelaySeconds.title")
            detail: qsTrId("settings.clipboardRestoreDelaySeconds.detail")
            NumberBox {
                name: qsTrId("settings.clipboardRestoreDelaySeconds.title")
                number: Preferences.values.clipboardRestoreDelaySeconds
                onChosen: number => Preferences.set("clipboardRestoreDelaySeconds", number)
            }
        }
    }
    SettingsCard {
        title: qsTrId("settings.section.recordings")
        SettingRow {
            title: qsTrId("settings.recordingsFolder.title")
            detail: Preferences.folderNote === "" ? Preferences.recordingsFolder
                : Preferences.recordingsFolder + "\n" + Preferences.folderNote
            ActionButton {
                visible: Preferences.canChangeFolder
                enabled: !Preferences.isMoving
                text: qsTrId("settings.recordingsFolder.change")
                name: qsTrId("settings.recordingsFolder.change.name")
                onClicked: Preferences.chooseRecordingsFolder()
            }
            ActionButton {
                text: qsTrId("settings.recordingsFolder.open")
                name: qsTrId("settings.recordingsFolder.open.name")
                onClicked: Preferences.openRecordingsFolder()
            }
        }
        SettingRow {
            visible: Preferences.moveQuestion !== "" || Preferences.isMoving
            title: Preferences.isMoving ? qsTrId("settings.recordingsFolder.move.working") : Preferences.moveQuestion
            ActionButton {
                visible: !Preferences.isMoving
                text: qsTrId("settings.recordingsFolder.move.yes")
                onClicked: Preferences.answerMove(true)
            }
            ActionButton {
                visible: !Preferences.isMoving
                text: qsTrId("settings.recordingsFolder.move.no")
                onClicked: Preferences.answerMove(false)
            }
        }
        SettingSwitch {
            key: "storeAsM4A"
            title: qsTrId("settings.storeAsM4A.title")
            detail: qsTrId("settings.storeAsM4A.detail")
        }
    }
    SettingsCard {
        title: qsTrId("settings.section.program")
        SettingSwitch {
            key: "showRecordingWindow"
            title: qsTrId("settings.showRecordingWindow.title")
            detail: qsTrId("settings.showRecordingWindow.detail")
        }
        SettingSwitch {
            visible: Preferences.canLaunchAtLogin
            key: "launchAtLogin"
            title: qsTrId("settings.launchAtLogin.title")
            detail: qsTrId("settings.launchAtLogin.detail")
        }
        SettingSwitch {
            key: "launchMinimized"
            title: qsTrId("settings.launchMinimized.title")
            detail: qsTrId("settings.launchMinimized.detail")
        }
        SettingSwitch {
            key: "enableErrorLogging"
            title: qsTrId("settings.enableErrorLogging.title")
            detail: qsTrId("settings.enableErrorLogging.detail")
        }
    }
}
