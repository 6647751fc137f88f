import QtQuick
import QtQuick.Layouts
import Quillmere

// Settings that belong together, under their heading.
ColumnLayout {
    property alias title: heading.text
    default property alias content: rows.data

    spacing: 8
    Layout.fillWidth: true
    PlainText {
        id: heading
        font.pixelSize: Theme.small
        font.weight: Font.DemiBold
        font.letterSpacing: 0.6
        font.capitalization: Font.AllUppercase
        color: Theme.dim
        visible: text !== ""
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    Card {
        Layout.fillWidth: true
        implicitHeight: rows.implicitHeight + 12
        ColumnLayout {
            id: rows
            x: 14
            y: 6
            width: parent.width - 28
            spacing: 0
        }
    }
}
