// Lines of a text whose emoji cost nothing, for Qt lays out stand-ins that are as large.
//
// A text without emoji of a bitmap font is laid out as QTextLayout does it. GUI thread only.

#pragma once

#include "Platform/Qt/EmojiGlyphs_p.h"

#include <QPainter>
#include <QTextLayout>
#include <optional>
#include <vector>

namespace kova {

/// Texts with more emoji of a bitmap font than this are not for Qt Quick to draw.
inline constexpr std::size_t fewEmoji = 4;

class EmojiLayout {
public:
    /// In points, and in code units of the text.
    struct Line {
        double width;
        double height;
        qsizetype end;
    };
    struct Cursor {
        qsizetype position;
        double x;
    };

    EmojiLayout(const QString& text, const QFont& font, const QTextOption& option);

    /// How many characters have stand-ins.
    [[nodiscard]] std::size_t emojiCount() const { return m_emoji.size(); }

    void begin() { m_layout.beginLayout(); }
    /// The next line, below the one before; null after the last.
    [[nodiscard]] std::optional<Line> nextLine(double width);
    void end() { m_layout.endLayout(); }

    /// A place between two characters of the first line, `units` beyond `x` or at its end.
    [[nodiscard]] Cursor cursorBeyond(double x, qsizetype units) const;

    /// Draws everything but the emoji that have stand-ins.
    void drawLetters(QPainter& painter, QPointF at, const QColor& color) const;
    /// Draws the next of these emoji; false if some are left for the next turn of the event loop.
    bool drawEmoji(QPainter& painter, QPointF at, const QColor& color);

private:
    struct Emoji {
        /// In the text with stand-ins.
        int position;
        QString character;
        EmojiGlyph glyph;
    };

    QString replaceEmoji(const QString& text);

    QFont m_font;
    std::vector<Emoji> m_emoji;
    /// Where the characters of the text with stand-ins lie in the text, and its end; empty if nothing was replaced.
    std::vector<qsizetype> m_positions;
    QTextLayout m_layout;
    double m_bottom = 0;
    std::size_t m_drawnEmoji = 0;
};

} // namespace kova
