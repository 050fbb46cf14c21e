// The whole area. A drag from its left edge takes the screen on top along, back to the one before.

import QtQuick

UIView {
    id: window

    clip: true

    Item {
        width: 20
        height: parent.height
        z: 1

        DragHandler {
            target: null
            enabled: window.draggable
            yAxis.enabled: false
            onActiveChanged: active ? window.dragBegan() : window.dragEnded()
            onTranslationChanged: if (active) window.dragMoved(translation.x)
        }
    }
}
