import QtQuick
import Quillmere

// Rows of which one is the current one: the arrow keys move it, Tab goes on to its buttons and then out of the list.
ListView {
    id: list

    property string name  // for screen readers

    function takeFocus() {
        if (count > 0)
            forceActiveFocus(Qt.TabFocusReason)
    }

    currentIndex: 0
    keyNavigationEnabled: true
    boundsBehavior: Flickable.StopAtBounds
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: name
    onCountChanged: if (currentIndex < 0 && count > 0) currentIndex = 0
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
