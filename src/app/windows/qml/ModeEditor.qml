import QtQuick
import QtQuick.Layouts
import Quillmere

// The basics of a mode, of a new one for an empty id.
Card {
    id: editor

    property string modeId
    property string problem
    property string model
    property string language
    property string preset
    signal closed()

    function load(id) {
        const values = Modes.values(id)
        modeId = id
        problem = ""
        name.text = values.name
        model = values.model
        language = values.language
        preset = values.preset
        name.forceActiveFocus()
        name.selectAll()
    }
    function save() {
        problem = Modes.save(modeId, {"name": name.text, "model": model, "language": language, "preset": preset})
        if (problem === "")
            closed()
        else
            name.forceActiveFocus()
    }

    implicitHeight: content.implicitHeight + 28
    border.color: Theme.accent
    ColumnLayout {
        id: content
        x: 14
        y: 14
        width: parent.width - 28
        spacing: 4
        SettingRow {
            title: qsTrId("modes.edit.name")
            InputField {
                id: name
                width: 260
                name: qsTrId("modes.edit.name")
                onAccepted: editor.save()
            }
        }
        SettingRow {
            title: qsTrId("modes.edit.model")
            detail: qsTrId("modes.edit.model.detail")
            ChoiceBox {
                width: 260
                name: qsTrId("modes.edit.model")
                choices: Modes.modelChoices(editor.model)
                value: editor.model
                onChosen: value => editor.model = value
            }
        }
        SettingRow {
            title: qsTrId("modes.edit.language")
            ChoiceBox {
                width: 260
                name: qsTrId("modes.edit.language")
                choices: Modes.languageChoices(editor.model, editor.language)
                value: editor.language
                onChosen: value => editor.language = value
            }
        }
        SettingRow {
            title: qsTrId("modes.edit.preset")
            detail: qsTrId("modes.edit.preset.detail")
            ChoiceBox {
                width: 260
                name: qsTrId("modes.edit.preset")
                choices: Modes.presetChoices()
                value: editor.preset
                onChosen: value => editor.preset = value
            }
        }
        RowLayout {
            Layout.topMargin: 6
            spacing: 12
            PlainText {
                Layout.fillWidth: true
                text: editor.problem
                font.pixelSize: Theme.small
                color: Theme.warning
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
            ActionButton {
                text: qsTrId("common.cancel")
                onClicked: editor.closed()
            }
            ActionButton {
                kind: "primary"
                text: qsTrId("modes.edit.save")
                onClicked: editor.save()
            }
        }
    }
}
