import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

FocusScope {
    id: page

    property string askedName  // the model that asks whether to delete it

    function takeFocus() {
        list.takeFocus()
    }
    function closeWhatIsOpen() {
        if (askedName === "")
            return false
        askedName = ""
        return true
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        anchors.leftMargin: 28
        anchors.rightMargin: 28
        anchors.bottomMargin: 0
        spacing: 12

        PageHeader {
            Layout.fillWidth: true
            title: qsTrId("sidebar.models")
        }
        PlainText {
            Layout.fillWidth: true
            text: Models.hasModel ? qsTrId("models.intro") : qsTrId("models.intro.none")
            font.pixelSize: Theme.body
            lineHeight: 1.2
            color: Models.hasModel ? Theme.dim : Theme.text
            wrapMode: Text.Wrap
        }
        RowList {
            id: list

            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: -4
            leftMargin: 4
            rightMargin: 4
            topMargin: 8
            bottomMargin: 24
            clip: true
            spacing: 8
            model: Models
            focus: true
            cacheBuffer: 2000
            T.ScrollBar.vertical: ScrollMark {}
            name: qsTrId("sidebar.models")

            delegate: ListRow {
                id: row

                required property string name
                required property string displayName
                required property string sizeText
                required property string description
                required property bool isDownloaded
                required property bool isDownloading
                required property double progress
                required property string progressText
                required property bool isPartial
                required property bool isActive
                required property bool isCustom
                readonly property bool isAsked: page.askedName === name

                minimumHeight: 62
                contentHeight: content.implicitHeight + 24
                edge: isActive ? Theme.accent : Theme.line
                spokenName: displayName + ". " + (isDownloading ? progressText : description)
                onActivated: {
                    if (isDownloading || isAsked)
                        return
                    if (!isDownloaded)
                        Models.download(name)
                    else if (!isActive)
                        Models.use(name)
                }
                onDeletePressed: if (isDownloaded) page.askedName = name

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
                                text: row.displayName
                                font.pixelSize: Theme.body
                                font.weight: Font.DemiBold
                                color: Theme.text
                            }
                            Chip { text: row.sizeText }
                            Chip {
                                visible: row.isActive && row.isDownloaded
                                text: qsTrId("models.active").arg(Models.modeName)
                                color: Theme.softAccent
                                foreground: Theme.accent
                            }
                            Item { Layout.fillWidth: true }
                        }
                        PlainText {
                            Layout.fillWidth: true
                            visible: !row.isDownloading
                            text: row.isAsked ? qsTrId("models.delete.question") : row.description
                            font.pixelSize: Theme.small
                            color: row.isAsked ? Theme.text : Theme.dim
                            wrapMode: Text.Wrap
                        }
                        RowLayout {
                            visible: row.isDownloading
                            spacing: 12
                            ProgressLine {
                                Layout.fillWidth: true
                                Layout.minimumWidth: 80
                                progress: row.progress
                                name: row.displayName + ": " + row.progressText
                            }
                            PlainText {
                                Layout.preferredWidth: Theme.small * 15
                                horizontalAlignment: Text.AlignRight
                                text: row.progressText
                                font.pixelSize: Theme.small
                                color: Theme.dim
                            }
                        }
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: row.isDownloading
                        text: qsTrId("common.cancel")
                        name: qsTrId("models.cancel.name").arg(row.displayName)
                        onClicked: Models.cancel(row.name)
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: !row.isDownloading && !row.isDownloaded
                        text: row.isPartial ? qsTrId("models.resume") : qsTrId("models.download")
                        name: qsTrId("models.download.name").arg(row.displayName)
                        iconName: "download"
                        onClicked: Models.download(row.name)
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: row.isDownloaded && !row.isActive && !row.isAsked
                        kind: "primary"
                        text: qsTrId("models.use")
                        name: qsTrId("models.use.name").arg(row.displayName)
                        onClicked: Models.use(row.name)
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: row.isDownloaded && !row.isAsked
                        kind: "quiet"
                        iconName: "delete"
                        name: qsTrId("models.delete.name").arg(row.displayName)
                        onClicked: page.askedName = row.name
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: row.isAsked
                        text: qsTrId("common.cancel")
                        onVisibleChanged: if (visible) forceActiveFocus()
                        onClicked: page.askedName = ""
                    }
                    ActionButton {
                        focusPolicy: row.buttonFocus
                        visible: row.isAsked
                        kind: "danger"
                        text: qsTrId("history.delete")
                        name: qsTrId("models.delete.name").arg(row.displayName)
                        onClicked: {
                            page.askedName = ""
                            Models.remove(row.name)
                        }
                    }
                }
            }
        }
    }
}
