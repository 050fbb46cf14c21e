// The page of the in-app browser where no engine shows it: a word on where the page is.

import QtQuick

UIView {
    id: page

    Text {
        x: 20
        y: 40
        width: parent.width - 40
        text: page.text
        font: page.font
        color: page.textColor
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        Accessible.ignored: true
    }
}
