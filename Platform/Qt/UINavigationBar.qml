// The bar at the top of a stack of screens, with a hair line beneath.

import QtQuick

UIView {
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1 / Screen.devicePixelRatio
        color: "#4d000000"
    }
}
