// The wheel that turns: spokes, each paler than the one before.

import QtQuick

UIView {
    id: wheel

    Item {
        id: spokes
        readonly property int count: 12
        readonly property real side: Math.min(wheel.width, wheel.height)
        anchors.centerIn: parent
        width: side
        height: side
        visible: wheel.animating

        Repeater {
            model: spokes.count

            Item {
                id: spoke
                required property int index
                anchors.fill: parent
                rotation: index * 360 / spokes.count
                opacity: 0.25 + 0.75 * index / spokes.count

                Rectangle {
                    x: (spokes.side - width) / 2
                    width: spokes.side * 0.08
                    height: spokes.side * 0.27
                    radius: width / 2
                    color: wheel.textColor
                    antialiasing: true
                }
            }
        }

        RotationAnimator on rotation {
            running: spokes.visible
            loops: Animation.Infinite
            from: 0
            to: 360
            duration: 1000
        }
    }
}
