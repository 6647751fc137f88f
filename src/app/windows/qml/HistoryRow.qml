import QtQuick
import QtQuick.Layouts
import Quillmere

// A transcript in the list.
ListRow {
    id: row

    required property string transcriptId
    required property string fullText
    required property string excerpt
    required property string html
    required property string modeName
    required property string details
    required property bool hasFailed
    required property string reason
    required property bool canRetry
    required property bool isBusy
    required property bool hasAudio
    required property bool isDiscarded

    property bool isExpanded: false
    property bool isAsked: false
    signal toggleExpanded()
    signal askDelete()
    signal answered()

    readonly property bool hasText: !hasFailed && !isBusy && !isDiscarded

    contentHeight: content.implicitHeight + 24
    spokenName: excerpt + (hasFailed ? ". " + reason : ". " + details)
    edge: hasFailed ? Theme.warning : Theme.line
    onActivated: toggleExpanded()
    onDeletePressed: askDelete()
    Keys.onPressed: event => {
        if (event.matches(StandardKey.Copy) && hasText) {
            History.copy(transcriptId)
            copied.restart()
            event.accepted = true
        }
    }

    Timer { id: copied; interval: 1500 }

    ColumnLayout {
        id: content

        x: 14
        y: 12
        width: parent.width - 28
        spacing: 6

        Item {
            Layout.fillWidth: true
            implicitHeight: Math.max(words.contentHeight, 18)
            Text {
                id: words

                width: parent.width - (buttons.visible ? buttons.implicitWidth + 10 : 0)
                text: row.isExpanded && row.fullText !== "" ? row.fullText
                    : row.html === "" ? row.excerpt
                    : "<style>.hit{background-color:" + Theme.softAccent + ";color:" + Theme.text + "}</style>" + row.html
                textFormat: row.html === "" || (row.isExpanded && row.fullText !== "") ? Text.PlainText : Text.RichText
                font.pixelSize: Theme.body
                lineHeight: 1.2
                color: row.isBusy || row.isDiscarded ? Theme.dim : Theme.text
                wrapMode: Text.Wrap
                maximumLineCount: row.isExpanded || row.html !== "" ? 2147483647 : 3
                elide: row.isExpanded || row.html !== "" ? Text.ElideNone : Text.ElideRight
                Accessible.ignored: true
            }
            Row {
                id: buttons

                anchors.right: parent.right
                anchors.rightMargin: -6
                y: -4
                visible: !row.isBusy
                spacing: 0
                ActionButton {
                    id: retry
                    visible: row.canRetry
                    kind: "quiet"
                    focusPolicy: row.buttonFocus
                    text: row.isDiscarded ? qsTrId("history.discarded.transcribe") : qsTrId("history.retry")
                    isStrong: true
                    onClicked: History.retry(row.transcriptId)
                }
                ActionButton {
                    id: copy
                    visible: row.hasText
                    kind: "quiet"
                    focusPolicy: row.buttonFocus
                    text: copied.running ? qsTrId("history.copied") : qsTrId("history.copy")
                    onClicked: {
                        History.copy(row.transcriptId)
                        copied.restart()
                    }
                }
                ActionButton {
                    id: paste
                    visible: row.hasText && History.canPaste
                    kind: "quiet"
                    focusPolicy: row.buttonFocus
                    text: qsTrId("history.paste")
                    onClicked: History.paste(row.transcriptId)
                }
                ActionButton {
                    id: play
                    visible: !row.hasText && row.hasAudio && History.canPlay
                    kind: "quiet"
                    focusPolicy: row.buttonFocus
                    text: qsTrId("history.play")
                    onClicked: History.play(row.transcriptId)
                }
                ActionButton {
                    id: more
                    kind: "quiet"
                    focusPolicy: row.buttonFocus
                    iconName: "more"
                    name: qsTrId("history.more")
                    onClicked: menu.popup(more, 0, more.height + 2)
                    SelectMenu {
                        id: menu
                        SelectMenuItem {
                            text: row.isExpanded ? qsTrId("history.collapse") : qsTrId("history.expand")
                            visible: row.fullText !== "" || row.hasAudio
                            onTriggered: row.toggleExpanded()
                        }
                        SelectMenuItem {
                            text: qsTrId("history.play")
                            visible: row.hasAudio && History.canPlay
                            onTriggered: History.play(row.transcriptId)
                        }
                        SelectMenuItem {
                            text: qsTrId("history.delete")
                            isDanger: true
                            onTriggered: row.askDelete()
                        }
                    }
                }
            }
        }
        WaveformBars {
            Layout.fillWidth: true
            Layout.topMargin: 2
            visible: row.isExpanded && samples.length > 0
            samples: row.isExpanded ? Waveform.waveformSamples : []
            name: qsTrId("history.waveform")
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: 10
            visible: !row.isAsked
            Chip {
                visible: row.modeName !== "" && !row.hasFailed
                text: row.modeName
            }
            Icon {
                visible: row.hasFailed
                name: "warning"
                size: 14
                color: Theme.warning
            }
            PlainText {
                Layout.fillWidth: true
                text: row.hasFailed ? row.reason : row.details
                font.pixelSize: Theme.small
                font.weight: row.hasFailed ? Font.DemiBold : Font.Normal
                color: row.hasFailed ? Theme.warning : Theme.dim
                wrapMode: Text.Wrap
                Accessible.ignored: true
            }
        }
        RowLayout {
            id: question

            Layout.fillWidth: true
            spacing: 8
            visible: row.isAsked
            // Its children become visible after it.
            onVisibleChanged: if (visible) Qt.callLater(no.forceActiveFocus)
            PlainText {
                Layout.fillWidth: true
                text: row.hasAudio ? qsTrId("history.delete.question.audio") : qsTrId("history.delete.question")
                font.pixelSize: Theme.body
                color: Theme.text
                wrapMode: Text.Wrap
            }
            ActionButton {
                id: no
                text: qsTrId("common.cancel")
                onClicked: row.answered()
            }
            ActionButton {
                id: yes
                kind: "danger"
                text: qsTrId("history.delete")
                onClicked: {
                    row.answered()
                    History.remove(row.transcriptId)
                }
            }
        }
    }
}
