#include "Platform/Qt/EmojiGlyphs_p.h"

#include <QCache>
#include <QCoreApplication>
#include <QFontMetricsF>
#include <QGlyphRun>
#include <QHash>
#include <QPainter>
#include <QPointer>
#include <QRawFont>
#include <QTextLayout>
#include <QtMath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kova {

namespace {

/// The longest sequence in use has fifteen code units.
constexpr qsizetype longestEmoji = 32;
constexpr char32_t firstPictograph = 0x1F000;
constexpr char32_t lastPictograph = 0x1FBFF;
constexpr char32_t firstRegionalIndicator = 0x1F1E6;
constexpr char32_t lastRegionalIndicator = 0x1F1FF;
constexpr QChar emojiPresentation {0xFE0F};
constexpr QChar keycap {0x20E3};
/// Left to right, with a break before and after it, as flags are.
constexpr QChar ideograph {0x4E00};
constexpr int decodesPerTurn = 48;
constexpr int decodesPerPicture = 2;
constexpr qsizetype rememberedGlyphs = 4096;
constexpr qsizetype rememberedPixelBytes = 64 * 1024 * 1024;
/// How far a picture may reach beyond its advance, in points.
constexpr double overhang = 2;
constexpr double usualAdvanceInEms = 1.25;

struct Measured {
    EmojiGlyph glyph;
    bool isExact;
};

struct Allowance {
    /// The application whose event loop has not turned since; null after it has.
    QPointer<QCoreApplication> turn;
    int decodesLeft = 0;
};

struct Memory {
    QHash<std::pair<QString, QString>, Measured> glyphs;
    /// The last one that was measured, by font.
    QHash<QString, EmojiGlyph> samples;
    QHash<QString, bool> bitmapFonts;
    QCache<QString, EmojiPicture> pictures {rememberedPixelBytes};
    Allowance allowance;
};

Memory& memory()
{
    static auto& memory = *new Memory;
    return memory;
}

/// Takes from the allowance of this turn of the event loop; false once too little is left.
bool mayDecode(int count)
{
    auto& [turn, decodesLeft] = memory().allowance;
    auto* const application = QCoreApplication::instance();
    if (turn != application) {
        turn = application;
        decodesLeft = decodesPerTurn;
        QMetaObject::invokeMethod(application, [] { memory().allowance.turn.clear(); }, Qt::QueuedConnection);
    }
    if (decodesLeft < count)
        return false;
    decodesLeft -= count;
    return true;
}

char32_t firstCodePoint(QStringView text)
{
    return text.size() > 1 && text[0].isHighSurrogate() ? QChar::surrogateToUcs4(text[0], text[1]) : text[0].unicode();
}

bool isPictograph(char32_t character)
{
    return (character >= firstPictograph && character <= lastPictograph)
        || QChar::category(character) == QChar::Symbol_Other;
}

bool isBitmapFont(const QRawFont& font)
{
    const auto name = font.familyName() + QLatin1Char {'/'} + font.styleName();
    auto& known = memory().bitmapFonts;
    const auto found = known.constFind(name);
    if (found != known.cend())
        return *found;
    return *known.insert(name, !font.fontTable("CBLC").isEmpty() || !font.fontTable("sbix").isEmpty());
}

QTextLine layOutLine(QTextLayout& layout)
{
    layout.beginLayout();
    auto line = layout.createLine();
    layout.endLayout();
    return line;
}

EmojiGlyph describe(const QString& character, const QFont& font)
{
    const auto first = firstCodePoint(character);
    const bool isFlag = first >= firstRegionalIndicator && first <= lastRegionalIndicator;
    EmojiGlyph glyph;
    glyph.standIn = isFlag ? QString {ideograph} : QString::fromUcs4(&first, 1);
    glyph.standInAdvance = QFontMetricsF {standInFont(font)}.horizontalAdvance(glyph.standIn);
    return glyph;
}

EmojiGlyph measure(const QString& character, const QFont& font)
{
    auto glyph = describe(character, font);
    QTextLayout layout {character, font};
    const auto line = layOutLine(layout);
    glyph.advance = line.horizontalAdvance();
    glyph.ascent = line.ascent();
    glyph.descent = line.descent();
    glyph.isBitmap
        = std::ranges::any_of(layout.glyphRuns(), [](const QGlyphRun& run) { return isBitmapFont(run.rawFont()); });
    return glyph;
}

/// Stands for the measures of an emoji that there is no time to measure.
EmojiGlyph assume(const QString& character, const QFont& font)
{
    auto glyph = describe(character, font);
    const QFontMetricsF metrics {font};
    const auto sample = memory().samples.value(font.key(),
        {.advance = usualAdvanceInEms * font.pixelSize(), .ascent = metrics.ascent(), .descent = metrics.descent()});
    glyph.advance = sample.advance;
    glyph.ascent = sample.ascent;
    glyph.descent = sample.descent;
    glyph.isBitmap = true;
    return glyph;
}

} // namespace

bool mayBeEmoji(QStringView character)
{
    if (character.isEmpty() || character.size() > longestEmoji)
        return false;
    return isPictograph(firstCodePoint(character))
        || (character.size() > 1 && (character.contains(emojiPresentation) || character.contains(keycap)));
}

bool mayHaveEmoji(QStringView text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        const auto unit = text[at];
        if (unit == emojiPresentation || unit == keycap)
            return true;
        // The symbols of Latin-1 are emoji only where one of the marks above follows.
        if (unit.unicode() > 0xFF && !unit.isLowSurrogate() && isPictograph(firstCodePoint(text.sliced(at))))
            return true;
    }
    return false;
}

QFont standInFont(QFont font)
{
    font.setStyleStrategy(static_cast<QFont::StyleStrategy>(font.styleStrategy() | QFont::NoFontMerging));
    return font;
}

EmojiGlyph emojiGlyph(const QString& character, const QFont& font, EmojiMeasuring measuring)
{
    auto& glyphs = memory().glyphs;
    const std::pair key {font.key(), character};
    const auto known = glyphs.constFind(key);
    if (known != glyphs.cend() && (known->isExact || measuring == EmojiMeasuring::Bounded))
        return known->glyph;
    const bool isExact = measuring == EmojiMeasuring::Exact || mayDecode(1);
    const auto glyph = isExact ? measure(character, font) : assume(character, font);
    if (glyphs.size() >= rememberedGlyphs)
        glyphs.clear();
    glyphs.insert(key, {.glyph = glyph, .isExact = isExact});
    if (isExact && glyph.isBitmap)
        memory().samples.insert(font.key(), glyph);
    return glyph;
}

std::optional<EmojiPicture> emojiPicture(
    const QString& character, const QFont& font, const QColor& color, double pixelRatio)
{
    const auto key = QStringLiteral("%1/%2/%3/%4")
                         .arg(font.key(), color.name(QColor::HexArgb), QString::number(pixelRatio), character);
    auto& pictures = memory().pictures;
    if (const auto* known = pictures.object(key))
        return *known;
    if (!mayDecode(decodesPerPicture))
        return std::nullopt;
    QTextLayout layout {character, font};
    const auto line = layOutLine(layout);
    // The left end of the baseline is a whole pixel.
    const QPoint origin {qCeil(overhang * pixelRatio), qCeil((overhang + line.ascent()) * pixelRatio)};
    const QSize size {origin.x() + qCeil((line.horizontalAdvance() + overhang) * pixelRatio),
        origin.y() + qCeil((line.descent() + overhang) * pixelRatio)};
    EmojiPicture picture {
        .image = {size, QImage::Format_ARGB32_Premultiplied}, .origin = QPointF {origin} / pixelRatio};
    picture.image.setDevicePixelRatio(pixelRatio);
    picture.image.fill(Qt::transparent);
    {
        QPainter painter {&picture.image};
        painter.setPen(color);
        layout.draw(&painter, picture.origin - QPointF {0, line.ascent()});
    }
    pictures.insert(key, new EmojiPicture {picture}, picture.image.sizeInBytes());
    return picture;
}

} // namespace kova
