import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Quillmere

// A page that is longer than the window: a title and what stands below it. Follows the keyboard.
FocusScope {
    id: page

    property string title
    property string intro
    default property alias content: column.data

    // Where the keyboard goes when what had it goes away: to the first control.
    function takeFocus() {
        const first = column.nextItemInFocusChain()
        if (first)
            first.forceActiveFocus(Qt.TabFocusReason)
    }
    function reveal(item) {
        for (let up = item; up; up = up.parent) {
            if (up !== column)
                continue
            const top = item.mapToItem(column, 0, 0).y
            if (top - 12 < view.contentY)
                view.contentY = Math.max(0, top - 12)
            else if (top + item.height + 12 > view.contentY + view.height)
                view.contentY = Math.min(view.contentHeight - view.height, top + item.height + 12 - view.height)
            return
        }
    }

    Connections {
        target: page.Window.window
        function onActiveFocusItemChanged() { page.reveal(page.Window.window.activeFocusItem) }
    }
    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 24
        anchors.leftMargin: 28
        anchors.rightMargin: 28
        anchors.bottomMargin: 0
        spacing: 12

        PageHeader {
            Layout.fillWidth: true
            title: page.title
        }
        Flickable {
            id: view
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: -4  // room for the ring of the focus
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            contentWidth: width
            contentHeight: column.height + 32
            T.ScrollBar.vertical: ScrollMark {}

            ColumnLayout {
                id: column
                x: 4
                y: 4
                width: view.width - 8
                spacing: 12

                PlainText {
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: page.intro
                    font.pixelSize: Theme.body
                    lineHeight: 1.2
                    color: Theme.dim
                    wrapMode: Text.Wrap
                }
            }
        }
    }
}
