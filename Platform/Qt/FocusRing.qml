// Shows that the keyboard's input goes to the view it lies in. White on both sides, so that it is seen on any colour.

import QtQuick

Rectangle {
    anchors.fill: parent
    anchors.margins: 1
    z: 2
    visible: parent.focusRing
    color: "transparent"
    border.color: "white"
    border.width: 5
    radius: 7

    Rectangle {
        anchors.fill: parent
        anchors.margins: 1
        color: "transparent"
        border.color: "#0a6cff"
        border.width: 3
        radius: 6
    }
}
