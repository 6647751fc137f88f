import QtQuick
import QtQuick.Templates as T
import Quillmere

// What a control without words is called, below it.
T.ToolTip {
    id: hint

    visible: true
    delay: 500
    x: parent ? (parent.width - width) / 2 : 0
    y: parent ? parent.height + 6 : 0
    margins: 6
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 8
    rightPadding: 8
    topPadding: 4
    bottomPadding: 5
    contentItem: PlainText {
        text: hint.text
        font.pixelSize: Theme.small
        color: Theme.text
        Accessible.ignored: true
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }
}
