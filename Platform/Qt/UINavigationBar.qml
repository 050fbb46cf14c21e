// The bar at the top of a stack of screens, with a hair line beneath.

import QtQuick

UIView {
    // Nothing beneath is reached through the bar.
    TapHandler { gesturePolicy: TapHandler.ReleaseWithinBounds }

    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1 / Screen.devicePixelRatio
        color: "#4d000000"
    }
}
