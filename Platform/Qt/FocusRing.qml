// Shows that the keyboard's input goes to the view it lies in.

import QtQuick

Rectangle {
    anchors.fill: parent
    anchors.margins: 2
    z: 2
    visible: parent.focusRing
    color: "transparent"
    border.color: "#0a6cff"
    border.width: 3
    radius: 6
}
