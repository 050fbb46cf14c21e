// A button; its title is a label in it.

import QtQuick

UIView {
    id: button

    Accessible.onPressAction: button.activated()

    TapHandler {
        longPressThreshold: button.longestTap
        onPressedChanged: button.pressed(pressed)
        onTapped: (eventPoint) => button.tapped(eventPoint.position)
    }

    FocusRing {
    }
}
