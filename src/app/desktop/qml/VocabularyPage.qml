import QtQuick
import QtQuick.Layouts
import Quillmere

ScrollPage {
    id: page

    property string problem
    property string editedId

    title: qsTrId("sidebar.vocabulary")
    intro: qsTrId("vocabulary.intro")

    function closeWhatIsOpen() {
        if (editedId === "")
            return false
        leave()
        return true
    }
    function leave() {
        editedId = ""
        problem = ""
        wordField.clear()
        replacementField.clear()
    }
    // Here and not in the row, which goes with its word.
    function remove(id) {
        if (editedId === id)
            leave()
        wordField.forceActiveFocus()
        Vocabulary.remove(id)
    }
    function save() {
        problem = editedId === "" ? Vocabulary.add(wordField.text, replacementField.text)
            : Vocabulary.change(editedId, wordField.text, replacementField.text)
        if (problem === "")
            leave()
        wordField.forceActiveFocus()
    }

    Card {
        Layout.fillWidth: true
        implicitHeight: form.implicitHeight + 28
        border.color: page.editedId === "" ? Theme.line : Theme.accent
        ColumnLayout {
            id: form
            x: 14
            y: 14
            width: parent.width - 28
            spacing: 8
            RowLayout {
                spacing: 8
                InputField {
                    id: wordField
                    Layout.fillWidth: true
                    focus: true
                    placeholderText: qsTrId("vocabulary.word")
                    onTextEdited: page.problem = ""
                    onAccepted: page.save()
                }
                InputField {
                    id: replacementField
                    Layout.fillWidth: true
                    placeholderText: qsTrId("vocabulary.replacement")
                    onAccepted: page.save()
                }
                ActionButton {
                    visible: page.editedId !== ""
                    text: qsTrId("common.cancel")
                    onClicked: page.leave()
                }
                ActionButton {
                    kind: "primary"
                    enabled: wordField.text.trim() !== ""
                    text: page.editedId === "" ? qsTrId("vocabulary.add") : qsTrId("modes.edit.save")
                    onClicked: page.save()
                }
            }
            Text {
                Layout.fillWidth: true
                visible: text !== ""
                text: page.problem
                font.pixelSize: Theme.small
                color: Theme.warning
                wrapMode: Text.Wrap
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
    }
    EmptyNote {
        Layout.fillWidth: true
        Layout.topMargin: 40
        visible: Vocabulary.count === 0
        iconName: "vocabulary"
        title: qsTrId("vocabulary.empty.title")
        message: qsTrId("vocabulary.empty.message")
    }
    SettingsCard {
        visible: Vocabulary.count > 0
        Repeater {
            model: Vocabulary
            delegate: SettingRow {
                id: row
                required property string itemId
                required property string word
                required property string replacement

                title: word
                detail: replacement === "" ? "" : qsTrId("vocabulary.becomes").arg(replacement)
                ActionButton {
                    kind: "quiet"
                    text: qsTrId("modes.edit")
                    name: qsTrId("modes.edit.of").arg(row.word)
                    onClicked: {
                        page.editedId = row.itemId
                        wordField.text = row.word
                        replacementField.text = row.replacement
                        page.problem = ""
                        wordField.forceActiveFocus()
                    }
                }
                ActionButton {
                    kind: "quiet"
                    iconName: "delete"
                    name: qsTrId("vocabulary.remove.name").arg(row.word)
                    onClicked: page.remove(row.itemId)
                }
            }
        }
    }
}
