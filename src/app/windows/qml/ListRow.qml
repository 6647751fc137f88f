import QtQuick
import Quillmere

// A row of a RowList. Its buttons take `buttonFocus` as their focusPolicy, so that only those of the current row are
// reached by Tab. What it shows stands in a card, with 14 at both sides.
FocusScope {
    id: row

    required property int index
    property string spokenName  // for screen readers
    property color edge: Theme.line
    property bool hasCard: true
    property int minimumHeight: 0
    default property alias content: card.data
    property real contentHeight: 0
    signal activated()  // Return, Enter, the space bar or a double click
    signal deletePressed()

    readonly property bool isCurrent: ListView.isCurrentItem
    readonly property bool isStop: isCurrent || activeFocus  // what has the keyboard can't stop being a stop
    readonly property int buttonFocus: isStop ? Qt.StrongFocus : Qt.ClickFocus

    function takeFocus() {
        face.forceActiveFocus(Qt.TabFocusReason)
    }

    width: ListView.view ? ListView.view.width - ListView.view.leftMargin - ListView.view.rightMargin : implicitWidth
    implicitHeight: Math.max(minimumHeight, contentHeight)
    height: implicitHeight
    onActiveFocusChanged: if (activeFocus && ListView.view) ListView.view.currentIndex = index
    // Comes back to the row and not to one of its buttons.
    onIsCurrentChanged: if (!isCurrent) face.focus = true

    Keys.onReturnPressed: activated()
    Keys.onEnterPressed: activated()
    Keys.onSpacePressed: activated()
    Keys.onDeletePressed: deletePressed()

    // Before the card: Tab goes from the row to its buttons.
    Item {
        id: face
        readonly property bool visualFocus: activeFocus
        anchors.fill: parent
        focus: true
        activeFocusOnTab: row.isStop
        Accessible.role: Accessible.ListItem
        Accessible.name: row.spokenName
        Accessible.focusable: true
        FocusRing {
            control: face
            controlRadius: Theme.cardRadius
        }
    }
    Card {
        id: card
        anchors.fill: parent
        color: row.hasCard ? Theme.surface : "transparent"
        border.width: row.hasCard ? 1 : 0
        border.color: row.edge
        TapHandler {
            gesturePolicy: TapHandler.ReleaseWithinBounds  // the buttons' clicks are theirs
            onTapped: row.takeFocus()
            onDoubleTapped: row.activated()
        }
    }
}
