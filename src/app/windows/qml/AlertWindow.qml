import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Quillmere

// What has to be known or decided, with its buttons. Escape and closing it are the second one.
Window {
    id: window

    width: 420
    height: Math.ceil(content.implicitHeight + 40)
    minimumWidth: width
    maximumWidth: width
    minimumHeight: height
    maximumHeight: height
    flags: Qt.Dialog
    color: Theme.ground
    title: Alerts.title

    onClosing: close => {
        close.accepted = false
        Alerts.cancel()
    }
    onActiveChanged: if (active) acceptButton.forceActiveFocus(Qt.TabFocusReason)
    Shortcut { sequence: "Escape"; onActivated: Alerts.cancel() }

    ColumnLayout {
        id: content

        x: 20
        y: 20
        width: parent.width - 40
        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: Alerts.title + ". " + Alerts.message

        PlainText {
            Layout.fillWidth: true
            text: Alerts.title
            font.pixelSize: Theme.strong
            font.weight: Font.DemiBold
            color: Theme.text
            wrapMode: Text.Wrap
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        PlainText {
            Layout.fillWidth: true
            text: Alerts.message
            font.pixelSize: Theme.body
            lineHeight: 1.2
            color: Theme.text
            wrapMode: Text.Wrap
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        RowLayout {
            Layout.alignment: Qt.AlignRight
            Layout.topMargin: 8
            spacing: 8
            ActionButton {
                visible: Alerts.cancelText !== ""
                text: Alerts.cancelText
                onClicked: Alerts.cancel()
            }
            ActionButton {
                id: acceptButton
                kind: "primary"
                text: Alerts.acceptText
                focus: true
                onClicked: Alerts.accept()
            }
        }
    }
}
