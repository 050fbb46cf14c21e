// A view onto something larger: thrown with a finger, the wheel or the pad. The model hears where the content stands.

import QtQuick

UIView {
    id: scrollView

    container: flickable.contentItem
    // Setting it stops what moves, so it is not set to what it is.
    onScrollRequested: (contentY) => { if (flickable.contentY !== contentY) flickable.contentY = contentY }
    // It has to be told: it would wait for ever to be let go of by a hand that caught it.
    onHandTaken: { flickable.interactive = false; flickable.interactive = true }
    // A list beyond its bounds moves on, back into them.
    onFlickStopped: if (flickable.flicking && flickable.verticalOvershoot === 0) flickable.cancelFlick()

    Flickable {
        id: flickable
        anchors.fill: parent
        contentWidth: width
        contentHeight: scrollView.contentHeight
        topMargin: scrollView.topInset
        bottomMargin: scrollView.bottomInset
        flickableDirection: Flickable.VerticalFlick
        boundsBehavior: Flickable.DragAndOvershootBounds
        pixelAligned: true
        onContentYChanged: scrollView.scrolled(contentY)
    }

    Rectangle {
        readonly property real room: flickable.height - scrollView.topInset - scrollView.bottomInset
        readonly property bool needed: flickable.contentHeight > room
        x: parent.width - width - 3
        y: scrollView.topInset + flickable.visibleArea.yPosition * room
        width: 3
        height: Math.max(36, flickable.visibleArea.heightRatio * room)
        radius: width / 2
        color: "#80000000"
        opacity: needed && flickable.moving ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: 250 } }
    }
}
