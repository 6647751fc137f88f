import QtQuick
import Quillmere

// Takes files that are dragged onto what it covers, and says so while they hang over it.
DropArea {
    id: area

    keys: ["text/uri-list"]
    onEntered: drag => drag.accepted = drag.hasUrls
    onDropped: drop => {
        if (!drop.hasUrls)
            return
        drop.accept(Qt.CopyAction)
        Files.addUrls(drop.urls)
    }
    Rectangle {
        anchors.fill: parent
        visible: area.containsDrag
        color: Theme.ground
        opacity: 0.92
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: 16
        visible: area.containsDrag
        radius: Theme.cardRadius
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
        Column {
            anchors.centerIn: parent
            spacing: 10
            Icon {
                anchors.horizontalCenter: parent.horizontalCenter
                name: "file"
                color: Theme.accent
                size: 32
            }
            PlainText {
                text: qsTrId("files.drop")
                font.pixelSize: Theme.strong
                font.weight: Font.DemiBold
                color: Theme.text
            }
        }
    }
}
