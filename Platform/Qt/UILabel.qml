// A text, cut at its tail where it does not fit.

import QtQuick

UIView {
    id: label

    Text {
        anchors.fill: parent
        text: label.text
        font: label.font
        color: label.textColor
        textFormat: Text.PlainText
        horizontalAlignment: label.alignment
        verticalAlignment: Text.AlignVCenter
        maximumLineCount: label.maximumLineCount
        wrapMode: label.maximumLineCount === 1 ? Text.NoWrap : Text.Wrap
        elide: Text.ElideRight
        Accessible.ignored: true
    }
}
