import QtQuick
import QtQuick.Templates as T
import Quillmere

// A menu that opens at its button.
T.Menu {
    id: menu

    implicitWidth: Math.max(180, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: 4
    margins: 8
    overlap: 1
    delegate: SelectMenuItem {}
    contentItem: ListView {
        implicitHeight: contentHeight
        implicitWidth: {
            let widest = 0
            for (let i = 0; i < menu.count; ++i)
                widest = Math.max(widest, menu.itemAt(i).implicitWidth)
            return widest
        }
        model: menu.contentModel
        interactive: false
        clip: true
        currentIndex: menu.currentIndex
    }
    background: Rectangle {
        radius: Theme.controlRadius + 2
        color: Theme.surface
        border.width: 1
        border.color: Theme.line
    }
}
