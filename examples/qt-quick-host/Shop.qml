import QtQuick

Rectangle {
    color: "#e8f2f0"

    Text {
        id: icon
        anchors.centerIn: parent
        text: "🔔"
        font.pixelSize: 64

        TapHandler {
            onTapped: bell.ring()
        }
    }
    Text {
        anchors { top: icon.bottom; horizontalCenter: icon.horizontalCenter; topMargin: 16 }
        text: "Notificações"
    }
}
