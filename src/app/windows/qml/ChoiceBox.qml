import QtQuick
import QtQuick.Templates as T
import Quillmere

// A choice among few: choices are {value, text}. The chosen value is told, not kept: `value` follows its source.
T.ComboBox {
    id: control

    property string name  // for screen readers
    property var choices: []
    property var value
    signal chosen(var value)

    function indexOfPresent() {
        for (let i = 0; i < choices.length; ++i) {
            if (choices[i].value === value)
                return i
        }
        return -1
    }

    implicitWidth: 220
    implicitHeight: Math.max(34, label.implicitHeight + 12)
    leftPadding: 12
    rightPadding: 32
    font.pixelSize: Theme.body
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    textRole: "text"
    model: choices
    currentIndex: indexOfPresent()
    onModelChanged: currentIndex = Qt.binding(indexOfPresent)
    onActivated: index => {
        const wanted = choices[index].value
        currentIndex = Qt.binding(indexOfPresent)
        chosen(wanted)
    }
    Accessible.role: Accessible.ComboBox
    Accessible.name: name
    Accessible.description: displayText
    Keys.onReturnPressed: popup.open()
    Keys.onEnterPressed: popup.open()

    contentItem: PlainText {
        id: label
        text: control.displayText
        font: control.font
        color: Theme.text
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }
    indicator: Icon {
        x: control.width - width - 11
        y: (control.height - height) / 2
        name: "down"
        color: Theme.dim
        size: 14
    }
    background: Rectangle {
        radius: Theme.controlRadius
        color: control.hovered ? Theme.sunken : Theme.surface
        border.width: 1
        border.color: Theme.line
        FocusRing { control: control }
    }
    delegate: T.ItemDelegate {
        id: option
        required property var modelData
        required property int index
        width: ListView.view ? ListView.view.width : implicitWidth
        implicitHeight: 32
        highlighted: control.highlightedIndex === index
        text: modelData.text
        font.pixelSize: Theme.body
        Accessible.role: Accessible.ListItem
        Accessible.name: text
        contentItem: PlainText {
            leftPadding: 10
            rightPadding: 10
            text: option.text
            font: option.font
            color: Theme.text
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: 4
            color: option.highlighted ? Theme.sunken : "transparent"
        }
    }
    popup: T.Popup {
        y: control.height + 4
        width: control.width
        implicitHeight: Math.min(300, contentItem.implicitHeight + 8)
        padding: 4
        margins: 8
        contentItem: ListView {
            implicitHeight: contentHeight
            clip: true
            model: control.popup.visible ? control.delegateModel : null
            currentIndex: control.highlightedIndex
            T.ScrollBar.vertical: ScrollMark {}
        }
        background: Rectangle {
            radius: Theme.controlRadius + 2
            color: Theme.surface
            border.width: 1
            border.color: Theme.line
        }
    }
}
