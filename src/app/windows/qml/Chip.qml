import QtQuick
import Quillmere

// A short word on a sunken ground.
Rectangle {
    property alias text: label.text
    property color foreground: Theme.dim

    implicitWidth: label.implicitWidth + 16
    implicitHeight: label.implicitHeight + 5
    radius: height / 2
    color: Theme.sunken
    PlainText {
        id: label
        anchors.centerIn: parent
        font.pixelSize: Theme.small
        color: parent.foreground
    }
}
