// One line of text on a view. It may be wider than its layer.

import QtQuick

CALayer {
    id: layer

    Text {
        width: parent.width
        text: layer.text
        font: layer.font
        color: layer.textColor
        textFormat: Text.PlainText
        horizontalAlignment: layer.alignment
        Accessible.ignored: true
    }
}
