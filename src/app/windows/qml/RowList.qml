import QtQuick
import Quillmere

// Rows of which one is the current one: the arrow keys move it, Tab goes on to its buttons and then out of the list.
ListView {
    id: list

    property string name  // for screen readers

    function takeFocus() {
        keepCurrent()
        if (count > 0)
            forceActiveFocus(Qt.TabFocusReason)
    }
    // Among the rows that are left; an emptied list hands the keyboard to its page.
    function keepCurrent() {
        if (count > 0) {
            if (currentIndex < 0 || currentIndex >= count || !currentItem) {
                // An index that was set before there were rows names none of them.
                const wanted = Math.max(0, Math.min(currentIndex, count - 1))
                currentIndex = -1
                currentIndex = wanted
            }
            return
        }
        for (let up = parent; activeFocus && up; up = up.parent) {
            if (up.visible && up.takeFocus)
                return up.takeFocus()
        }
    }

    currentIndex: 0
    keyNavigationEnabled: true
    boundsBehavior: Flickable.StopAtBounds
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: name
    onCountChanged: {
        forceLayout()
        keepCurrent()
    }
    onVisibleChanged: if (visible) forceLayout()
    Keys.onPressed: event => {
        const last = count - 1
        if (event.key === Qt.Key_Home)
            currentIndex = Math.min(0, last)
        else if (event.key === Qt.Key_End)
            currentIndex = last
        else if (event.key === Qt.Key_PageUp)
            currentIndex = Math.max(0, currentIndex - 5)
        else if (event.key === Qt.Key_PageDown)
            currentIndex = Math.min(last, currentIndex + 5)
        else
            return
        event.accepted = true
    }
}
