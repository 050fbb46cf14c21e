// A row: tapped, or dragged to the left to delete it.

import QtQuick

UIView {
    id: cell

    Accessible.onPressAction: cell.activated()

    TapHandler {
        longPressThreshold: cell.longestTap
        id: tap
        onTapped: (eventPoint) => cell.tapped(eventPoint.position)
    }

    DragHandler {
        target: null
        enabled: cell.draggable
        yAxis.enabled: false
        onActiveChanged: active ? cell.dragBegan() : cell.dragEnded()
        onTranslationChanged: if (active) cell.dragMoved(translation.x)
    }

    // Held down, not merely touched on the way to scrolling. With a clock of its own: the handler's is read only when
    // something else is drawn.
    Timer {
        id: touch
        interval: 80
        running: tap.pressed
    }

    Rectangle {
        objectName: "shade"
        anchors.fill: parent
        z: 1
        color: "black"
        opacity: tap.pressed && !touch.running ? 0.08 : 0
    }

    Rectangle {
        x: parent.width
        width: -cell.swipe
        height: parent.height
        visible: width > 0
        clip: true
        color: "#ff3b30"
        Accessible.role: Accessible.Button
        Accessible.name: cell.deleteTitle
        Accessible.onPressAction: cell.deleteTapped()

        Text {
            x: Math.max(0, (Math.min(parent.width, cell.deleteWidth) - width) / 2)
            anchors.verticalCenter: parent.verticalCenter
            text: cell.deleteTitle
            font: cell.font
            color: "white"
            Accessible.ignored: true
        }

        TapHandler {
            longPressThreshold: cell.longestTap
            onTapped: cell.deleteTapped()
        }
    }

    FocusRing {
    }
}
