// Emoji of bitmap fonts, each decoded once.
//
// Qt caches no glyph of a bitmap font that it scales: it unpacks the picture whenever it measures or draws one, at a
// tenth of a millisecond and more. Here are the measures and the pixels of each emoji. How many are unpacked between
// two turns of the event loop is bounded, so that a text of many different ones does not hold up a frame. GUI thread
// only.

#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QString>
#include <optional>

namespace kova {

/// One character as users know them, in points.
struct EmojiGlyph {
    double advance = 0;
    double ascent = 0;
    double descent = 0;
    /// Comes from a bitmap font.
    bool isBitmap = false;
    /// A character without a picture that breaks lines as the emoji does, and its advance in the font alone.
    QString standIn {};
    double standInAdvance = 0;
};

/// Paints an emoji with its margins and is placed by the left end of its baseline.
struct EmojiPicture {
    QImage image;
    QPointF origin;
};

enum class EmojiMeasuring {
    Exact,
    /// An emoji that was never seen may get the measures of another one of the font.
    Bounded,
};

/// False means that a character surely does not come from an emoji font.
[[nodiscard]] bool mayBeEmoji(QStringView character);

/// False means that no character of the text comes from an emoji font.
[[nodiscard]] bool mayHaveEmoji(QStringView text);

[[nodiscard]] EmojiGlyph emojiGlyph(const QString& character, const QFont& font, EmojiMeasuring measuring);

/// Null if too many were unpacked in this turn of the event loop already.
[[nodiscard]] std::optional<EmojiPicture> emojiPicture(
    const QString& character, const QFont& font, const QColor& color, double pixelRatio);

/// A font like this one that draws a box for a character that it lacks, instead of asking other fonts.
[[nodiscard]] QFont standInFont(QFont font);

} // namespace kova
