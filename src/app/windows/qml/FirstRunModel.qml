import QtQuick
import QtQuick.Layouts
import Quillmere

ColumnLayout {
    spacing: 8
    RowLayout {
        spacing: 10
        PlainText {
            text: qsTrId("firstRun.model.local")
            font.pixelSize: Theme.body
            font.weight: Font.DemiBold
            color: Theme.text
        }
        Chip { text: qsTrId("firstRun.model.private") }
    }
    PlainText {
        Layout.fillWidth: true
        visible: text !== ""
        text: FirstRun.speedText
        font.pixelSize: Theme.body
        color: Theme.dim
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
    Repeater {
        model: Models
        delegate: ModelOption {
            required property var model
            Layout.fillWidth: true
            visible: FirstRun.isOffered(model.name) || model.isDownloaded
            text: model.displayName
            sizeText: model.sizeText
            description: model.description
            isDownloaded: model.isDownloaded
            isDownloading: model.isDownloading
            progress: model.progress
            progressText: model.progressText
            checked: FirstRun.chosenModel === model.name
            onClicked: {
                const chosen = model.name
                checked = Qt.binding(() => FirstRun.chosenModel === model.name)
                FirstRun.chooseModel(chosen)
            }
        }
    }
    PlainText {
        Layout.fillWidth: true
        Layout.topMargin: 4
        visible: FirstRun.modelProblem !== "" || !Models.hasModel
        text: FirstRun.modelProblem !== "" ? FirstRun.modelProblem : qsTrId("firstRun.model.without")
        font.pixelSize: Theme.small
        lineHeight: 1.2
        color: FirstRun.modelProblem !== "" ? Theme.warning : Theme.dim
        wrapMode: Text.Wrap
    }
}
