import QtQuick
import QtQuick.Layouts
import Quillmere

ColumnLayout {
    spacing: 12
    Card {
        Layout.fillWidth: true
        implicitHeight: content.implicitHeight + 32
        ColumnLayout {
            id: content
            x: 16
            y: 16
            width: parent.width - 32
            spacing: 14
            ChoiceBox {
                Layout.fillWidth: true
                enabled: Microphone.hasMicrophone
                name: qsTrId("settings.microphone.title")
                choices: Microphone.choices
                value: Microphone.selectedId
                onChosen: value => Microphone.selectedId = value
            }
            MeterBars {
                value: Microphone.level
                count: Math.max(1, Math.floor((content.width + 3) / pitch))
                name: qsTrId("firstRun.microphone.level")
            }
            RowLayout {
                spacing: 8
                Icon {
                    visible: Microphone.hasHeard || Microphone.hasProblem
                    name: Microphone.hasProblem ? "warning" : "check"
                    color: Microphone.hasProblem ? Theme.warning : Theme.success
                }
                PlainText {
                    Layout.fillWidth: true
                    text: Microphone.statusText
                    font.pixelSize: Theme.body
                    font.weight: Microphone.hasHeard && !Microphone.hasProblem ? Font.DemiBold : Font.Normal
                    color: Microphone.hasProblem ? Theme.warning : Microphone.hasHeard ? Theme.success : Theme.dim
                    wrapMode: Text.Wrap
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
    }
    PlainText {
        Layout.fillWidth: true
        visible: Microphone.hasProblem || !Microphone.hasHeard
        text: Microphone.hasProblem ? qsTrId("firstRun.microphone.without") : qsTrId("firstRun.microphone.hint")
        font.pixelSize: Theme.small
        lineHeight: 1.2
        color: Theme.dim
        wrapMode: Text.Wrap
    }
}
