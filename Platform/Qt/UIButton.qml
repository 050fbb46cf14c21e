// A button; its title is a label in it.

import QtQuick

UIView {
    id: button

    Accessible.onPressAction: button.tapped()

    TapHandler {
        gesturePolicy: TapHandler.ReleaseWithinBounds
        onPressedChanged: button.pressed(pressed)
        onTapped: button.tapped()
    }

    FocusRing {
    }
}
