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

    function closeWhatIsOpen() {
        if (!isEditing && askedId === "")
            return false
        isEditing = false
        askedId = ""
        return true
    }
    function edit(id) {
        askedId = ""
        refusedId = ""
        isEditing = true
        editor.load(id)
    }
    // Here and not in the row, which goes with its mode.
    function remove(id) {
        askedId = ""
        createButton.forceActiveFocus()
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
        onClosed: page.isEditing = false
    }
    Repeater {
        model: Modes
        delegate: Card {
            id: row

            required property string modeId
            required property string name
            required property string details
            required property bool isSelected
            required property bool isUsable
            readonly property bool isAsked: page.askedId === modeId

            Layout.fillWidth: true
            visible: !page.isEditing
            implicitHeight: Math.max(62, content.implicitHeight + 24)
            border.color: isSelected ? Theme.accent : Theme.line
            Accessible.role: Accessible.ListItem
            Accessible.name: name + ". " + details
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
                        Text {
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
                    Text {
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
                    visible: !row.isSelected && !row.isAsked
                    text: qsTrId("modes.select")
                    name: qsTrId("modes.select.name").arg(row.name)
                    onClicked: Modes.select(row.modeId)
                }
                ActionButton {
                    visible: !row.isAsked
                    text: qsTrId("modes.edit")
                    name: qsTrId("modes.edit.of").arg(row.name)
                    onClicked: page.edit(row.modeId)
                }
                ActionButton {
                    visible: !row.isAsked
                    kind: "quiet"
                    iconName: "delete"
                    name: qsTrId("modes.delete.name").arg(row.name)
                    onClicked: {
                        page.refusedId = ""
                        page.askedId = row.modeId
                    }
                }
                ActionButton {
                    visible: row.isAsked
                    text: qsTrId("common.cancel")
                    onVisibleChanged: if (visible) forceActiveFocus()
                    onClicked: page.askedId = ""
                }
                ActionButton {
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
