import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

// A speech model to choose, with what is known of it and its download.
T.RadioButton {
    id: control

    property string name
    property string sizeText
    property string description
    property bool isDownloaded: false
    property bool isDownloading: false
    property real progress: 0
    property string progressText

    implicitHeight: content.implicitHeight + 22
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    autoExclusive: false
    Accessible.role: Accessible.RadioButton
    Accessible.name: text + ", " + (isDownloading ? progressText : isDownloaded ? qsTrId("firstRun.model.here") : sizeText) + ". " + description
    Accessible.checked: checked
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        RowLayout {
            id: content
            x: 14
            y: 11
            width: control.width - 28
            spacing: 12
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                // A layout would miss what changes in the chip while the option is hidden.
                Row {
                    spacing: 8
                    PlainText {
                        anchors.verticalCenter: parent.verticalCenter
                        text: control.text
                        font.pixelSize: Theme.body
                        font.weight: Font.DemiBold
                        color: Theme.text
                        Accessible.ignored: true
                    }
                    Chip { text: control.isDownloaded ? qsTrId("firstRun.model.here") : control.sizeText }
                }
                PlainText {
                    Layout.fillWidth: true
                    visible: !control.isDownloading
                    text: control.description
                    font.pixelSize: Theme.small
                    color: Theme.dim
                    wrapMode: Text.Wrap
                    Accessible.ignored: true
                }
                RowLayout {
                    visible: control.isDownloading
                    spacing: 12
                    ProgressLine {
                        Layout.fillWidth: true
                        progress: control.progress
                        name: control.text + ": " + control.progressText
                    }
                    PlainText {
                        Layout.preferredWidth: Theme.small * 16
                        horizontalAlignment: Text.AlignRight
                        text: control.progressText
                        font.pixelSize: Theme.small
                        color: Theme.dim
                        Accessible.ignored: true
                    }
                }
            }
            Rectangle {
                implicitWidth: 16
                implicitHeight: 16
                radius: 8
                color: "transparent"
                border.width: 1.5
                border.color: control.checked ? Theme.accent : Theme.dim
                Rectangle {
                    anchors.centerIn: parent
                    visible: control.checked
                    width: 8
                    height: 8
                    radius: 4
                    color: Theme.accent
                }
            }
        }
    }
    background: Card {
        border.color: control.checked ? Theme.accent : Theme.line
        color: control.hovered && !control.checked ? Theme.ground : Theme.surface
        FocusRing { control: control; controlRadius: Theme.cardRadius }
    }
}
