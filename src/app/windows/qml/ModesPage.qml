import QtQuick
import QtQuick.Layouts
import Quillmere

ScrollPage {
    id: page

    property bool isEditing: false
    property string askedId  // the mode that asks whether to delete it
    property string refusedId
    property string refusal

    title: qsTrId("sidebar.modes")
    intro: qsTrId("modes.intro")

    function takeFocus() {
        if (list.visible && list.count > 0)
            list.takeFocus()
        else if (createButton.visible)
            createButton.forceActiveFocus(Qt.TabFocusReason)
    }
    function closeWhatIsOpen() {
        if (!isEditing && askedId === "")
            return false
        if (isEditing)
            leave()
        askedId = ""
        return true
    }
    function edit(id) {
        askedId = ""
        refusedId = ""
        isEditing = true
        editor.load(id)
    }
    function leave() {
        isEditing = false
        if (editor.modeId === "")
            createButton.forceActiveFocus(Qt.TabFocusReason)
        else
            list.takeFocus()
    }
    function remove(id) {
        askedId = ""
        refusal = Modes.remove(id)
        refusedId = refusal === "" ? "" : id
    }

    ActionButton {
        id: createButton
        visible: !page.isEditing
        text: qsTrId("modes.new")
        onClicked: page.edit("")
    }
    ModeEditor {
        id: editor
        Layout.fillWidth: true
        visible: page.isEditing
        onClosed: page.leave()
    }
    RowList {
        id: list
        Layout.fillWidth: true
        implicitHeight: contentHeight
        visible: !page.isEditing
        interactive: false
        spacing: 12
        name: page.title
        model: Modes
        delegate: ListRow {
            id: row

            required property string modeId
            required property string name
            required property string details
            required property bool isSelected
            required property bool isUsable
            readonly property bool isAsked: page.askedId === modeId

            minimumHeight: 62
            contentHeight: content.implicitHeight + 24
            edge: isSelected ? Theme.accent : Theme.line
            spokenName: name + ". " + details
            onActivated: page.edit(modeId)
            onDeletePressed: ask()

            function ask() {
                page.refusedId = ""
                page.askedId = modeId
            }

            RowLayout {
                id: content
                x: 14
                y: (parent.height - height) / 2
                width: parent.width - 28
                spacing: 12
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 4
                    RowLayout {
                        spacing: 8
                        PlainText {
                            Layout.maximumWidth: 320
                            text: row.name
                            font.pixelSize: Theme.body
                            font.weight: Font.DemiBold
                            color: Theme.text
                            elide: Text.ElideRight
                        }
                        Chip {
                            visible: row.isSelected
                            text: qsTrId("modes.selected")
                            color: Theme.softAccent
                            foreground: Theme.accent
                        }
                        Item { Layout.fillWidth: true }
                    }
                    PlainText {
                        Layout.fillWidth: true
                        text: row.isAsked ? qsTrId("modes.delete.question")
                            : page.refusedId === row.modeId ? page.refusal : row.details
                        font.pixelSize: Theme.small
                        color: page.refusedId === row.modeId || (!row.isUsable && !row.isAsked) ? Theme.warning
                            : row.isAsked ? Theme.text : Theme.dim
                        wrapMode: Text.Wrap
                    }
                }
                ActionButton {
                    focusPolicy: row.buttonFocus
                    visible: !row.isSelected && !row.isAsked
                    text: qsTrId("modes.select")
                    name: qsTrId("modes.select.name").arg(row.name)
                    onClicked: Modes.select(row.modeId)
                }
                ActionButton {
                    focusPolicy: row.buttonFocus
                    visible: !row.isAsked
                    text: qsTrId("modes.edit")
                    name: qsTrId("modes.edit.of").arg(row.name)
                    onClicked: page.edit(row.modeId)
                }
                ActionButton {
                    focusPolicy: row.buttonFocus
                    visible: !row.isAsked
                    kind: "quiet"
                    iconName: "delete"
                    name: qsTrId("modes.delete.name").arg(row.name)
                    onClicked: row.ask()
                }
                ActionButton {
                    focusPolicy: row.buttonFocus
                    visible: row.isAsked
                    text: qsTrId("common.cancel")
                    onVisibleChanged: if (visible) forceActiveFocus()
                    onClicked: page.askedId = ""
                }
                ActionButton {
                    focusPolicy: row.buttonFocus
                    visible: row.isAsked
                    kind: "danger"
                    text: qsTrId("history.delete")
                    name: qsTrId("modes.delete.name").arg(row.name)
                    onClicked: page.remove(row.modeId)
                }
            }
        }
    }
}
