import QtQuick
import QtQuick.Templates as T
import Quillmere

// How loud the microphone is, as a row of bars. value: 0 to 1.
T.ProgressBar {
    id: meter

    property int count: 16
    property string name  // for screen readers
    readonly property int pitch: 11

    implicitWidth: count * pitch - 3
    implicitHeight: 18
    Accessible.name: name
    contentItem: Row {
        spacing: 3
        Repeater {
            model: meter.count
            delegate: Rectangle {
                required property int index
                width: 8
                height: 18
                radius: 2
                color: meter.value * meter.count > index + 0.5 ? Theme.success : Theme.line
            }
        }
    }
}
