import QtQuick
import Quillmere

// A stored recording as bars about its middle.
Item {
    id: waveform

    property var samples: []  // 0 to 1
    property string name

    implicitHeight: 40
    Accessible.role: Accessible.Graphic
    Accessible.name: name
    Repeater {
        model: waveform.samples
        delegate: Rectangle {
            required property int index
            required property real modelData
            readonly property real pitch: waveform.width / waveform.samples.length

            x: index * pitch
            width: Math.max(1, Math.min(3, pitch - 2))
            height: Math.max(2, waveform.height * modelData)
            y: (waveform.height - height) / 2
            radius: width / 2
            color: Theme.accent
        }
    }
}
