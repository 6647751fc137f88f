import QtQuick
import QtQuick.Layouts
import Quillmere

// Which version this is, and what it is made with.
ScrollPage {
    id: page

    title: qsTrId("sidebar.about")

    // Names and licences are the same in every language.
    readonly property var libraries: [
        { name: "Qt " + App.qtVersion, licence: "LGPL 3" },
        { name: "whisper.cpp", licence: "MIT" },
        { name: "Silero VAD", licence: "MIT" },
        { name: "FFmpeg", licence: "LGPL 2.1, GPL 2" },
        { name: "libsndfile", licence: "LGPL 2.1" },
        { name: "PulseAudio (libpulse)", licence: "LGPL 2.1" },
        { name: "SQLite", licence: "public domain" },
        { name: "SQLiteCpp", licence: "MIT" },
        { name: "libcurl", licence: "curl" },
        { name: "libsecret", licence: "LGPL 2.1" },
        { name: "XCB, xkbcommon", licence: "MIT" },
        { name: "spdlog", licence: "MIT" },
        { name: "CLI11", licence: "BSD 3" }
    ]

    function takeFocus() {
        text.forceActiveFocus(Qt.TabFocusReason)
    }

    Card {
        id: text
        Layout.fillWidth: true
        implicitHeight: head.implicitHeight + 28
        activeFocusOnTab: true
        Accessible.role: Accessible.StaticText
        Accessible.focusable: true
        Accessible.name: version.text + ". " + purpose.text
        RowLayout {
            id: head
            x: 14
            y: 14
            width: parent.width - 28
            spacing: 14
            Icon {
                Layout.alignment: Qt.AlignTop
                name: "quill"
                color: Theme.accent
                size: 40
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 4
                PlainText {
                    text: "Quillmere"
                    font.pixelSize: Theme.strong
                    font.weight: Font.DemiBold
                    color: Theme.text
                }
                PlainText {
                    id: version
                    text: qsTrId("about.version").arg(App.version)
                    font.pixelSize: Theme.body
                    color: Theme.dim
                }
                PlainText {
                    id: purpose
                    Layout.fillWidth: true
                    Layout.topMargin: 6
                    text: qsTrId("about.purpose")
                    font.pixelSize: Theme.body
                    lineHeight: 1.2
                    color: Theme.text
                    wrapMode: Text.Wrap
                }
            }
        }
    }
    SettingsCard {
        title: qsTrId("about.section.libraries")
        Repeater {
            model: page.libraries
            delegate: SettingRow {
                required property var modelData
                title: modelData.name
                detail: qsTrId("about.licence").arg(modelData.licence)
            }
        }
    }
}
