import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

ColumnLayout {
    id: step

    spacing: 12
    Component.onCompleted: field.forceActiveFocus()

    T.TextArea {
        id: field
        Layout.fillWidth: true
        Layout.preferredHeight: 120
        padding: 12
        focus: true
        font.pixelSize: Theme.strong
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.onAccent
        selectByMouse: true
        wrapMode: TextEdit.Wrap
        KeyNavigation.priority: KeyNavigation.BeforeItem
        KeyNavigation.tab: dictate
        Accessible.role: Accessible.EditableText
        Accessible.name: qsTrId("firstRun.try.field")
        PlainText {
            x: 12
            y: 12
            width: parent.width - 24
            visible: field.length === 0 && field.preeditText === ""
            text: qsTrId("firstRun.try.placeholder")
            font: field.font
            color: Theme.dim
            wrapMode: Text.Wrap
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Theme.controlRadius
            color: Theme.surface
            border.width: field.activeFocus ? 2 : 1
            border.color: field.activeFocus ? Theme.accent : Theme.line
        }
    }
    RowLayout {
        spacing: 12
        ActionButton {
            id: dictate
            enabled: FirstRun.tryProblem === "" && !App.isWorking
            iconName: "microphone"
            text: App.isRecording ? qsTrId("history.stop") : qsTrId("history.dictate")
            onClicked: {
                field.forceActiveFocus()  // the text goes to where the cursor is
                FirstRun.tryDictation()
            }
        }
        Flow {
            Layout.fillWidth: true
            visible: Shortcuts.hasTrigger || !Shortcuts.isAvailable
            spacing: 5
            PlainText {
                text: App.shortcutSentenceStart
                height: cap.height
                verticalAlignment: Text.AlignVCenter
                font.pixelSize: Theme.body
                color: Theme.dim
            }
            KeyCap {
                id: cap
                visible: App.shortcutText !== ""
                text: App.shortcutText
                pixelSize: Theme.body
            }
            PlainText {
                text: App.shortcutSentenceEnd
                height: cap.height
                verticalAlignment: Text.AlignVCenter
                font.pixelSize: Theme.body
                color: Theme.dim
            }
        }
    }
    Card {
        Layout.fillWidth: true
        implicitHeight: reading.implicitHeight + 20
        SettingSwitch {
            id: reading
            x: 16
            y: 10
            width: parent.width - 32
            key: "enableAccessibility"
            title: qsTrId("settings.enableAccessibility.title")
            detail: qsTrId("settings.enableAccessibility.detail")
        }
    }
    PlainText {
        Layout.fillWidth: true
        visible: text !== ""
        text: FirstRun.tryProblem !== "" ? FirstRun.tryProblem
            : App.isRecording || App.isWorking ? App.statusText
            : FirstRun.heardText !== "" && field.text.indexOf(FirstRun.heardText) < 0
                ? qsTrId("firstRun.try.understood").arg(FirstRun.heardText)
            : FirstRun.heardText !== "" ? qsTrId("firstRun.try.done") : ""
        font.pixelSize: Theme.body
        lineHeight: 1.2
        color: FirstRun.tryProblem !== "" ? Theme.warning
            : FirstRun.heardText !== "" && !App.isRecording && !App.isWorking ? Theme.success : Theme.dim
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
