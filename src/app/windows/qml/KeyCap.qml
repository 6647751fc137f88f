import QtQuick
import Quillmere

// A key as it stands on the keyboard.
Rectangle {
    property alias text: label.text
    property color foreground: Theme.text
    property color edge: Theme.line
    property color face: Theme.surface
    property int pixelSize: Theme.small

    implicitWidth: label.implicitWidth + 12
    implicitHeight: label.implicitHeight + 4
    radius: 4
    color: face
    border.width: 1
    border.color: edge
    PlainText {
        id: label
        anchors.centerIn: parent
        font.pixelSize: parent.pixelSize
        color: parent.foreground
    }
}
