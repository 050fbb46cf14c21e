// A text of many emoji as a picture: Qt Quick would unpack every emoji of a bitmap font several times, see EmojiGlyphs.
//
// It looks as a Text item of the same size draws it, halfway between top and bottom and cut at its tail where it does
// not fit. Emoji that nobody has seen yet appear a few at a time. GUI thread only.

#pragma once

#include "Platform/Qt/EmojiLayout_p.h"

#include <QImage>

namespace kova {

class PaintedText {
public:
    struct Style {
        QFont font;
        QColor color;
        Qt::Alignment alignment;
        int maximumLineCount;
    };

    /// `size` is in points.
    PaintedText(const QString& text, const Style& style, QSizeF size, double pixelRatio);

    /// Returns true if the text has too many bitmap emoji for Qt Quick.
    [[nodiscard]] static bool isFor(const QString& text, const QFont& font);

    /// Paints emoji that are missing; false if some still are after it, for the next turn of the event loop.
    bool finish();
    [[nodiscard]] const QImage& image() const { return m_image; }

private:
    EmojiLayout m_layout;
    QColor m_color;
    QPointF m_origin;
    QImage m_image;
};

} // namespace kova
