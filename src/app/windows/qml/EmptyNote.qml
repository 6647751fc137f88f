import QtQuick
import QtQuick.Layouts
import Quillmere

// What an empty page says, and the first step that it offers.
ColumnLayout {
    id: note

    property string iconName
    property string title
    property string message
    property string actionText
    signal action()

    spacing: 8
    Icon {
        Layout.alignment: Qt.AlignHCenter
        Layout.bottomMargin: 4
        name: note.iconName
        color: Theme.accent
        size: 32
    }
    PlainText {
        Layout.alignment: Qt.AlignHCenter
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: note.title
        font.pixelSize: Theme.strong
        font.weight: Font.DemiBold
        color: Theme.text
        wrapMode: Text.Wrap
    }
    PlainText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: note.message
        font.pixelSize: Theme.body
        lineHeight: 1.25
        color: Theme.dim
        wrapMode: Text.Wrap
    }
    ActionButton {
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 8
        visible: note.actionText !== ""
        kind: "primary"
        text: note.actionText
        onClicked: note.action()
    }
}
