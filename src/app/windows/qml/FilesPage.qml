import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

// Files that are transcribed one after the other.
FocusScope {
    id: page

    function takeFocus() {
        if (list.count > 0)
            list.takeFocus()
        else
            choose.forceActiveFocus(Qt.TabFocusReason)
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        anchors.leftMargin: 28
        anchors.rightMargin: 28
        anchors.bottomMargin: 0
        spacing: 16

        PageHeader {
            Layout.fillWidth: true
            title: qsTrId("sidebar.files")
            ActionButton {
                visible: Files.hasFinished
                text: qsTrId("files.removeFinished")
                onClicked: Files.removeFinished()
            }
            ActionButton {
                id: choose
                kind: "primary"
                focus: true
                enabled: Files.canChoose
                text: qsTrId("history.transcribeFile")
                onClicked: Files.choose()
            }
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            PlainText {
                Layout.fillWidth: true
                text: qsTrId("files.intro")
                font.pixelSize: Theme.body
                lineHeight: 1.2
                color: Theme.dim
                wrapMode: Text.Wrap
            }
            ChoiceBox {
                Layout.preferredWidth: 180
                name: qsTrId("files.mode")
                choices: App.modes.map(mode => ({ value: mode.id, text: mode.name }))
                value: Files.modeId
                onChosen: value => Files.modeId = value
            }
        }
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true

            RowList {
                id: list

                anchors.fill: parent
                anchors.margins: -4  // room for the ring of the focus
                leftMargin: 4
                rightMargin: 4
                topMargin: 4
                bottomMargin: 24
                clip: true
                spacing: 8
                model: Files
                cacheBuffer: 400
                T.ScrollBar.vertical: ScrollMark {}
                name: qsTrId("sidebar.files")

                delegate: ListRow {
                    id: row

                    required property string itemId
                    required property string name
                    required property string modeName
                    required property string detail
                    required property double progress
                    required property bool isRunning
                    required property bool isWaiting
                    required property bool isCompleted
                    required property bool hasFailed
                    required property bool canRetry

                    minimumHeight: 62
                    contentHeight: content.implicitHeight + 24
                    edge: hasFailed ? Theme.warning : isRunning ? Theme.accent : Theme.line
                    spokenName: name + ". " + detail
                    onActivated: {
                        if (isCompleted)
                            Navigation.page = "history"
                        else if (canRetry)
                            Files.retry(itemId)
                    }
                    onDeletePressed: isRunning || isWaiting ? Files.cancel(itemId) : Files.remove(itemId)

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
                                    Layout.maximumWidth: Math.max(120, row.width - 320)
                                    text: row.name
                                    font.pixelSize: Theme.body
                                    font.weight: Font.DemiBold
                                    color: Theme.text
                                    elide: Text.ElideMiddle
                                }
                                Chip { visible: row.modeName !== ""; text: row.modeName }
                                Item { Layout.fillWidth: true }
                            }
                            ProgressLine {
                                Layout.fillWidth: true
                                visible: row.isRunning
                                progress: row.progress
                                name: row.name + ": " + row.detail
                            }
                            RowLayout {
                                spacing: 8
                                Icon {
                                    visible: row.hasFailed || row.isCompleted
                                    name: row.hasFailed ? "warning" : "check"
                                    size: 14
                                    color: row.hasFailed ? Theme.warning : Theme.success
                                }
                                PlainText {
                                    Layout.fillWidth: true
                                    text: row.detail
                                    font.pixelSize: Theme.small
                                    color: row.hasFailed ? Theme.warning : Theme.dim
                                    wrapMode: Text.Wrap
                                    Accessible.ignored: true
                                }
                            }
                        }
                        ActionButton {
                            focusPolicy: row.buttonFocus
                            visible: row.isRunning || row.isWaiting
                            text: qsTrId("common.cancel")
                            name: qsTrId("files.cancel.name").arg(row.name)
                            onClicked: Files.cancel(row.itemId)
                        }
                        ActionButton {
                            focusPolicy: row.buttonFocus
                            visible: row.isCompleted
                            text: qsTrId("files.show")
                            name: qsTrId("files.show.name").arg(row.name)
                            onClicked: Navigation.page = "history"
                        }
                        ActionButton {
                            focusPolicy: row.buttonFocus
                            visible: row.canRetry
                            text: qsTrId("files.retry")
                            name: qsTrId("files.retry.name").arg(row.name)
                            onClicked: Files.retry(row.itemId)
                        }
                        ActionButton {
                            focusPolicy: row.buttonFocus
                            visible: !row.isRunning && !row.isWaiting
                            kind: "quiet"
                            iconName: "close"
                            name: qsTrId("files.remove.name").arg(row.name)
                            onClicked: Files.remove(row.itemId)
                        }
                    }
                }
            }
            EmptyNote {
                anchors.centerIn: parent
                width: Math.min(parent.width - 48, 420)
                visible: list.count === 0
                iconName: "file"
                title: qsTrId("files.empty.title")
                message: qsTrId("files.empty.message")
            }
        }
    }
}
