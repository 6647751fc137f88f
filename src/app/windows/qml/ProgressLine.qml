import QtQuick
import QtQuick.Templates as T
import Quillmere

// progress: 0 to 1; negative while nobody knows.
T.ProgressBar {
    id: bar

    property string name  // for screen readers
    property real progress: 0

    value: Math.max(0, progress)
    indeterminate: progress < 0
    implicitWidth: 200
    implicitHeight: 6
    Accessible.name: name
    contentItem: Item {
        clip: true
        Rectangle {
            id: fill
            width: bar.indeterminate ? bar.width * 0.3 : bar.width * bar.position
            height: bar.height
            radius: height / 2
            color: Theme.accent
            SequentialAnimation on x {
                running: bar.indeterminate && bar.visible && Theme.hasAnimations
                loops: Animation.Infinite
                NumberAnimation { from: -bar.width * 0.3; to: bar.width; duration: 1400 }
                onStopped: fill.x = 0
            }
        }
    }
    background: Rectangle {
        radius: height / 2
        color: Theme.sunken
    }
}
