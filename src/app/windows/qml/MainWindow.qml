import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Quillmere

Window {
    id: window

    width: 960
    height: 620
    minimumWidth: 720
    minimumHeight: 480
    color: Theme.ground
    title: "Quillmere"

    readonly property bool isFirstRun: FirstRun !== null && FirstRun.isShown

    // The first run listens only while it is looked at.
    onActiveChanged: if (FirstRun) FirstRun.isActive = active
    onIsFirstRunChanged: Qt.callLater(() => (isFirstRun ? firstRunLoader : pageLoader).forceActiveFocus())

    // The keyboard stays where it can be seen: what had it may have gone, with its page or alone.
    readonly property bool hasKeyboard: activeFocusItem !== null && activeFocusItem.visible && activeFocusItem.enabled
        && activeFocusItem !== contentItem && activeFocusItem !== pageLoader && activeFocusItem !== pageLoader.item
    onHasKeyboardChanged: if (!hasKeyboard) Qt.callLater(keepKeyboard)

    function keepKeyboard() {
        if (active && !hasKeyboard && !isFirstRun && pageLoader.item && pageLoader.item.takeFocus)
            pageLoader.item.takeFocus()
    }

    // Escape closes what is open: a page may have something of its own.
    function closeWhatIsOpen() {
        if (isFirstRun) {
            if (!firstRunLoader.item || !firstRunLoader.item.closeWhatIsOpen())
                Navigation.hide()
            return
        }
        if (pageLoader.item && pageLoader.item.closeWhatIsOpen && pageLoader.item.closeWhatIsOpen())
            return
        Navigation.hide()
    }

    Shortcut { sequence: "Escape"; onActivated: window.closeWhatIsOpen() }
    Shortcut { sequences: [StandardKey.Close]; onActivated: Navigation.hide() }
    Shortcut { sequence: "Ctrl+,"; enabled: !window.isFirstRun; onActivated: Navigation.page = "settings" }
    Shortcut {
        sequences: [StandardKey.Find]
        enabled: !window.isFirstRun
        onActivated: {
            Navigation.page = "history"
            if (pageLoader.item && pageLoader.item.startSearch)
                pageLoader.item.startSearch()
        }
    }
    Shortcut { sequence: "Ctrl+PgDown"; enabled: !window.isFirstRun; onActivated: window.step(1) }
    Shortcut { sequence: "Ctrl+PgUp"; enabled: !window.isFirstRun; onActivated: window.step(-1) }

    function step(by) {
        const pages = Navigation.pages
        for (let i = 0; i < pages.length; ++i) {
            if (pages[i].key === Navigation.page) {
                Navigation.page = pages[(i + by + pages.length) % pages.length].key
                return
            }
        }
    }

    Component {
        id: pageItem
        SideItem {
            required property var modelData
            Layout.fillWidth: true
            text: modelData.title
            iconName: modelData.icon
            isCurrent: Navigation.page === modelData.key
            onClicked: Navigation.page = modelData.key
            onStepped: by => window.step(by)
            onIsCurrentChanged: if (isCurrent && sideBar.activeFocus) forceActiveFocus(Qt.TabFocusReason)
        }
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0
        visible: !window.isFirstRun

        FocusScope {
            id: sideBar
            Layout.preferredWidth: Math.max(196, Math.round(Theme.body * 15))
            Layout.fillHeight: true
            Accessible.role: Accessible.PageTabList
            Accessible.name: qsTrId("sidebar.name")

            Rectangle {
                anchors.fill: parent
                color: Theme.sunken
            }
            Rectangle {
                anchors.right: parent.right
                width: 1
                height: parent.height
                color: Theme.line
            }
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 10
                anchors.topMargin: 18
                anchors.rightMargin: 11
                spacing: 2

                Row {
                    Layout.leftMargin: 10
                    Layout.bottomMargin: 14
                    spacing: 8
                    Icon {
                        anchors.verticalCenter: parent.verticalCenter
                        name: "quill"
                        color: Theme.accent
                        size: 20
                    }
                    PlainText {
                        anchors.verticalCenter: parent.verticalCenter
                        text: "Quillmere"
                        font.pixelSize: Theme.strong
                        font.weight: Font.DemiBold
                        color: Theme.text
                    }
                }
                Repeater {
                    model: Navigation.pages.filter(page => !page.isAtBottom)
                    delegate: pageItem
                }
                Item { Layout.fillHeight: true }
                Repeater {
                    model: Navigation.pages.filter(page => page.isAtBottom)
                    delegate: pageItem
                }
                Rectangle {
                    Layout.fillWidth: true
                    Layout.topMargin: 8
                    implicitHeight: 1
                    color: Theme.line
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    Layout.margins: 10
                    spacing: 5
                    PlainText {
                        Layout.fillWidth: true
                        text: App.modelText === "" ? App.microphoneName : App.microphoneName + " · " + App.modelText
                        font.pixelSize: Theme.small
                        color: Theme.dim
                        wrapMode: Text.Wrap
                        maximumLineCount: 3
                        elide: Text.ElideRight
                    }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 4
                        PlainText {
                            text: App.shortcutSentenceStart
                            height: cap.implicitHeight
                            verticalAlignment: Text.AlignVCenter
                            font.pixelSize: Theme.small
                            color: Theme.dim
                        }
                        KeyCap {
                            id: cap
                            visible: App.shortcutText !== ""
                            text: App.shortcutText
                        }
                        PlainText {
                            visible: text !== ""
                            text: App.shortcutSentenceEnd
                            height: cap.height
                            verticalAlignment: Text.AlignVCenter
                            font.pixelSize: Theme.small
                            color: Theme.dim
                        }
                    }
                }
            }
        }
        Loader {
            id: pageLoader
            Layout.fillWidth: true
            Layout.fillHeight: true
            source: Navigation.pageUrl
            focus: true
        }
    }
    Loader {
        anchors.fill: parent
        active: Files !== null && !window.isFirstRun
        source: "DropTarget.qml"
    }
    Loader {
        id: firstRunLoader
        anchors.fill: parent
        active: window.isFirstRun
        focus: window.isFirstRun
        source: "FirstRunPage.qml"
    }
}
