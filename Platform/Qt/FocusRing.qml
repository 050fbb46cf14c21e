// Shows where the keyboard's input goes.

import QtQuick

Rectangle {
    anchors.fill: parent
    anchors.margins: 2
    z: 2
    color: "transparent"
    border.color: "#0a6cff"
    border.width: 3
}
