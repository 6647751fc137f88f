import QtQuick
import Quillmere

// value: 0 to 1; negative while nobody knows.
Rectangle {
    id: bar

    property real value: 0
    property string name

    implicitWidth: 200
    implicitHeight: 6
    radius: 3
    color: Theme.sunken
    clip: true
    Accessible.role: Accessible.ProgressBar
    Accessible.name: name
    Rectangle {
        width: bar.value < 0 ? bar.width * 0.3 : bar.width * Math.min(1, bar.value)
        height: parent.height
        radius: parent.radius
        color: Theme.accent
        x: 0
        SequentialAnimation on x {
            running: bar.value < 0 && bar.visible && Theme.hasAnimations
            loops: Animation.Infinite
            NumberAnimation { from: -bar.width * 0.3; to: bar.width; duration: 1400 }
            onStopped: parent.x = 0
        }
    }
}
