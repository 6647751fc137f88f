import QtQuick
import QtQuick.Layouts
import Quillmere

// What a setting does, and its control at the right.
RowLayout {
    id: row

    property string title
    property string detail
    property color detailColor: Theme.dim
    default property alias content: place.data

    Layout.fillWidth: true
    Layout.minimumHeight: 44
    spacing: 16
    ColumnLayout {
        Layout.fillWidth: true
        Layout.topMargin: 6
        Layout.bottomMargin: 6
        spacing: 3
        PlainText {
            Layout.fillWidth: true
            text: row.title
            font.pixelSize: Theme.body
            color: Theme.text
            wrapMode: Text.Wrap
        }
        PlainText {
            Layout.fillWidth: true
            visible: text !== ""
            text: row.detail
            font.pixelSize: Theme.small
            color: row.detailColor
            wrapMode: Text.Wrap
        }
    }
    Row {
        id: place
        spacing: 8
    }
}
