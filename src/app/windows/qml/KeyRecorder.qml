import QtQuick
import Quillmere

// The keys of one shortcut: recorded by pressing them, or taken away.
Row {
    id: recorder

    property string shortcutName
    property string title
    property string keys
    property bool isRecording: false
    property bool keepsPlace: true  // under others: the buttons stand in one column whether there are keys or not

    spacing: 6
    ActionButton {
        id: field
        width: Math.max(150, implicitWidth)
        text: recorder.isRecording ? qsTrId("shortcuts.press") : recorder.keys === "" ? qsTrId("shortcuts.record") : recorder.keys
        name: recorder.isRecording ? qsTrId("shortcuts.press.name").arg(recorder.title)
            : recorder.keys === "" ? qsTrId("shortcuts.record.name").arg(recorder.title)
            : qsTrId("shortcuts.change.name").arg(recorder.title).arg(recorder.keys)
        isStrong: recorder.isRecording || recorder.keys !== ""
        enabled: Shortcuts.isAvailable
        onClicked: recorder.isRecording ? Shortcuts.stopRecording() : Shortcuts.record(recorder.shortcutName)
    }
    ActionButton {
        anchors.verticalCenter: field.verticalCenter
        kind: "quiet"
        iconName: "close"
        name: qsTrId("shortcuts.clear.name").arg(recorder.title)
        visible: enabled || recorder.keepsPlace
        opacity: enabled ? 1 : 0
        enabled: recorder.keys !== "" && !recorder.isRecording
        onClicked: {
            field.forceActiveFocus()
            Shortcuts.clear(recorder.shortcutName)
        }
    }
}
