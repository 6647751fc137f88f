import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

FocusScope {
    id: page

    property string expandedId
    property string askedId  // the row that asks whether to delete it

    onExpandedIdChanged: Waveform.audioFilePath = History.audioFile(expandedId)

    function takeFocus() {
        if (list.count > 0)
            list.takeFocus()
        else if (search.visible)
            search.forceActiveFocus()
        else
            dictate.forceActiveFocus(Qt.TabFocusReason)
    }
    function startSearch() {
        search.forceActiveFocus()
        search.selectAll()
    }
    function closeWhatIsOpen() {
        if (askedId !== "") {
            askedId = ""
            return true
        }
        if (search.text !== "") {
            search.clear()
            return true
        }
        if (expandedId !== "") {
            expandedId = ""
            return true
        }
        if (History.showsDiscarded) {
            History.showsDiscarded = false
            return true
        }
        return false
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
            title: qsTrId("sidebar.history")
            ActionButton {
                visible: Files !== null && Files.canChoose
                text: qsTrId("history.transcribeFile")
                onClicked: Files.choose()
            }
            ActionButton {
                id: dictate
                kind: "primary"
                text: App.isRecording ? qsTrId("history.stop") : qsTrId("history.dictate")
                onClicked: App.toggleRecording()
            }
        }
        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            visible: list.count > 0 || History.isFiltered || search.text !== "" || filter.visible
            InputField {
                id: search
                Layout.fillWidth: true
                focus: true
                iconName: "search"
                placeholderText: qsTrId("history.search")
                text: History.searchText
                onTextEdited: History.searchText = text
                onTextChanged: if (text === "") History.searchText = ""
                Keys.onDownPressed: {
                    list.currentIndex = 0
                    list.takeFocus()
                }
            }
            ChoiceBox {
                id: filter
                Layout.preferredWidth: 160
                visible: History.hasDiscarded || History.showsDiscarded
                name: qsTrId("history.filter")
                choices: [{ value: false, text: qsTrId("history.filter.kept") },
                          { value: true, text: qsTrId("history.filter.discarded") }]
                value: History.showsDiscarded
                onChosen: value => {
                    search.clear()
                    History.showsDiscarded = value
                }
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
                spacing: 10
                model: History
                cacheBuffer: 400
                T.ScrollBar.vertical: ScrollMark {}
                name: qsTrId("sidebar.history")

                section.property: "day"
                section.delegate: PlainText {
                    required property string section
                    width: ListView.view.width - 8
                    topPadding: 4
                    bottomPadding: 8
                    text: section
                    font.pixelSize: Theme.small
                    font.weight: Font.DemiBold
                    font.letterSpacing: 0.6
                    font.capitalization: Font.AllUppercase
                    color: Theme.dim
                    Accessible.role: Accessible.Heading
                    Accessible.name: section
                }
                delegate: HistoryRow {
                    isExpanded: page.expandedId === transcriptId
                    isAsked: page.askedId === transcriptId
                    onToggleExpanded: page.expandedId = isExpanded ? "" : transcriptId
                    onAskDelete: page.askedId = transcriptId
                    onAnswered: page.askedId = ""
                }
            }
            EmptyNote {
                anchors.centerIn: parent
                width: Math.min(parent.width - 48, 420)
                visible: list.count === 0 && !History.isFiltered && !History.showsDiscarded
                iconName: "quill"
                title: qsTrId("history.empty.title")
                message: qsTrId("history.empty.message")
                actionText: qsTrId("history.dictate")
                onAction: App.toggleRecording()
            }
            EmptyNote {
                anchors.centerIn: parent
                width: Math.min(parent.width - 48, 420)
                visible: list.count === 0 && !History.isFiltered && History.showsDiscarded
                iconName: "delete"
                title: qsTrId("history.discarded.empty.title")
                message: qsTrId("history.discarded.empty.message")
                actionText: qsTrId("history.discarded.empty.back")
                onAction: History.showsDiscarded = false
            }
            EmptyNote {
                anchors.centerIn: parent
                width: Math.min(parent.width - 48, 420)
                visible: list.count === 0 && History.isFiltered
                iconName: "search"
                title: qsTrId("history.noHits.title").arg(History.searchText)
                message: qsTrId("history.noHits.message")
                actionText: qsTrId("history.noHits.clear")
                onAction: {
                    search.clear()
                    search.forceActiveFocus()
                }
            }
        }
    }
}
