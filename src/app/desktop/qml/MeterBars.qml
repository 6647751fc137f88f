import QtQuick
import Quillmere

// How loud the microphone is, as a row of bars.
Row {
    id: meter

    property real level: 0  // 0 to 1
    property int count: 16
    property string name

    spacing: 3
    Accessible.role: Accessible.ProgressBar
    Accessible.name: name
    Repeater {
        model: meter.count
        delegate: Rectangle {
            required property int index
            width: 8
            height: 18
            radius: 2
            color: meter.level * meter.count > index + 0.5 ? Theme.success : Theme.line
        }
    }
}
