import QtQuick
import QtQuick.Templates as T
import Quillmere

// A ring with a turning arc; a resting one where the desktop asks for no motion.
T.BusyIndicator {
    id: spinner

    property color ringColor: Theme.overlayLine
    property color arcColor: Theme.overlayAccent

    implicitWidth: 14
    implicitHeight: 14
    Accessible.ignored: true
    contentItem: Item {
        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: "transparent"
            border.width: 2
            border.color: spinner.ringColor
        }
        Item {
            anchors.fill: parent
            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                y: -1
                width: 4
                height: 4
                radius: 2
                color: spinner.arcColor
            }
            RotationAnimator on rotation {
                running: spinner.running && spinner.visible && Theme.hasAnimations
                from: 0
                to: 360
                duration: 1000
                loops: Animation.Infinite
            }
        }
    }
}
