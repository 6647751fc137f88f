import QtQuick
import QtQuick.Layouts
import Quillmere

ScrollPage {
    id: page

    property string problem
    property string editedId

    title: qsTrId("sidebar.vocabulary")
    intro: qsTrId("vocabulary.intro")

    function takeFocus() {
        wordField.forceActiveFocus()
    }
    function closeWhatIsOpen() {
        if (editedId === "")
            return false
        leave()
        return true
    }
    function leave() {
        const isFromRow = editedId !== "" && list.count > 0
        editedId = ""
        problem = ""
        wordField.clear()
        replacementField.clear()
        if (isFromRow)
            list.takeFocus()
        else
            wordField.forceActiveFocus()
    }
    function edit(row) {
        editedId = row.itemId
        wordField.text = row.word
        replacementField.text = row.replacement
        problem = ""
        wordField.forceActiveFocus()
    }
    function remove(id) {
        if (editedId === id)
            leave()
        Vocabulary.remove(id)
    }
    function save() {
        problem = editedId === "" ? Vocabulary.add(wordField.text, replacementField.text)
            : Vocabulary.change(editedId, wordField.text, replacementField.text)
        if (problem === "")
            leave()
        else
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
            PlainText {
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
        RowList {
            id: list
            Layout.fillWidth: true
            implicitHeight: contentHeight
            interactive: false
            name: page.title
            model: Vocabulary
            delegate: ListRow {
                id: row
                required property string itemId
                required property string word
                required property string replacement

                hasCard: false
                contentHeight: line.implicitHeight
                spokenName: replacement === "" ? word : word + ". " + line.detail
                onActivated: page.edit(row)
                onDeletePressed: page.remove(itemId)
                SettingRow {
                    id: line
                    width: parent.width
                    title: row.word
                    detail: row.replacement === "" ? "" : qsTrId("vocabulary.becomes").arg(row.replacement)
                    ActionButton {
                        kind: "quiet"
                        focusPolicy: row.buttonFocus
                        text: qsTrId("modes.edit")
                        name: qsTrId("modes.edit.of").arg(row.word)
                        onClicked: page.edit(row)
                    }
                    ActionButton {
                        kind: "quiet"
                        focusPolicy: row.buttonFocus
                        iconName: "delete"
                        name: qsTrId("vocabulary.remove.name").arg(row.word)
                        onClicked: page.remove(row.itemId)
                    }
                }
            }
        }
    }
}
