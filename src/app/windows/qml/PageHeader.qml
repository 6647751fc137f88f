import QtQuick
import QtQuick.Layouts
import Quillmere

// The title of a page, with its buttons at the right.
RowLayout {
    property alias title: label.text

    spacing: 12
    PlainText {
        id: label
        Layout.fillWidth: true
        font.pixelSize: Theme.title
        font.weight: Font.DemiBold
        color: Theme.text
        elide: Text.ElideRight
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
}
