#include "Platform/Qt/EmojiLayout_p.h"

#include <QGlyphRun>
#include <QTextBoundaryFinder>
#include <algorithm>
#include <cmath>

namespace kova {

EmojiLayout::EmojiLayout(const QString& text, const QFont& font, const QTextOption& option)
    : m_font(font)
    , m_layout(replaceEmoji(text), font)
{
    m_layout.setTextOption(option);
    QList<QTextLayout::FormatRange> formats;
    double lastSpacing = 0;
    for (const auto& [position, character, glyph] : m_emoji) {
        const double spacing = glyph.advance - glyph.standInAdvance;
        const auto length = static_cast<int>(glyph.standIn.size());
        if (!formats.isEmpty() && spacing == lastSpacing && formats.back().start + formats.back().length == position) {
            formats.back().length += length;
            continue;
        }
        auto spaced = standInFont(font);
        spaced.setLetterSpacing(QFont::AbsoluteSpacing, spacing);
        QTextCharFormat format;
        format.setFont(spaced);
        format.setForeground(QColor {Qt::transparent});
        formats.append({.start = position, .length = length, .format = format});
        lastSpacing = spacing;
    }
    if (!formats.isEmpty())
        m_layout.setFormats(formats);
}

QString EmojiLayout::replaceEmoji(const QString& text)
{
    if (!mayHaveEmoji(text))
        return text;
    struct Character {
        qsizetype begin;
        qsizetype end;
    };
    std::vector<Character> candidates;
    QTextBoundaryFinder finder {QTextBoundaryFinder::Grapheme, text};
    for (qsizetype begin = 0, end = finder.toNextBoundary(); end > begin; begin = end, end = finder.toNextBoundary()) {
        if (mayBeEmoji(QStringView {text}.sliced(begin, end - begin)))
            candidates.push_back({begin, end});
    }
    const auto measuring = candidates.size() > fewEmoji ? EmojiMeasuring::Bounded : EmojiMeasuring::Exact;
    QString result;
    result.reserve(text.size());
    qsizetype copied = 0;
    const auto copyTo = [&](qsizetype end) {
        for (; copied < end; ++copied) {
            m_positions.push_back(copied);
            result.append(text[copied]);
        }
    };
    for (const auto& [begin, end] : candidates) {
        auto character = text.sliced(begin, end - begin);
        auto glyph = emojiGlyph(character, m_font, measuring);
        if (!glyph.isBitmap)
            continue;
        copyTo(begin);
        m_positions.insert(m_positions.end(), static_cast<std::size_t>(glyph.standIn.size()), begin);
        const auto position = static_cast<int>(result.size());
        result.append(glyph.standIn);
        m_emoji.push_back({.position = position, .character = std::move(character), .glyph = std::move(glyph)});
        copied = end;
    }
    copyTo(text.size());
    m_positions.push_back(text.size());
    return result;
}

std::optional<EmojiLayout::Line> EmojiLayout::nextLine(double width)
{
    auto line = m_layout.createLine();
    if (!line.isValid())
        return std::nullopt;
    line.setLineWidth(width);
    const int begin = line.textStart();
    const int end = begin + line.textLength();
    double ascent = line.ascent();
    double descent = line.descent();
    for (auto emoji = std::ranges::lower_bound(m_emoji, begin, {}, &Emoji::position);
        emoji != m_emoji.end() && emoji->position < end; ++emoji) {
        ascent = std::max(ascent, emoji->glyph.ascent);
        descent = std::max(descent, emoji->glyph.descent);
    }
    line.setPosition({0, m_bottom + ascent - line.ascent()});
    const double height = std::ceil(ascent + descent);
    m_bottom += height;
    return Line {.width = line.naturalTextWidth(),
        .height = height,
        .end = m_positions.empty() ? end : m_positions[static_cast<std::size_t>(end)]};
}

EmojiLayout::Cursor EmojiLayout::cursorBeyond(double x, qsizetype units) const
{
    const auto line = m_layout.lineAt(0);
    auto cursor = line.xToCursor(x);
    if (m_positions.empty()) {
        cursor = std::min(line.textLength(), cursor + static_cast<int>(units));
    } else {
        const auto target = m_positions[static_cast<std::size_t>(cursor)] + units;
        const auto after = std::ranges::upper_bound(m_positions, target);
        cursor = std::min(line.textLength(), static_cast<int>(after - m_positions.begin()) - 1);
    }
    const double place = line.cursorToX(&cursor);
    return {.position = m_positions.empty() ? cursor : m_positions[static_cast<std::size_t>(cursor)], .x = place};
}

void EmojiLayout::drawLetters(QPainter& painter, QPointF at, const QColor& color) const
{
    painter.setPen(color);
    m_layout.draw(&painter, at);
}

bool EmojiLayout::drawEmoji(QPainter& painter, QPointF at, const QColor& color)
{
    const double ratio = painter.device()->devicePixelRatioF();
    for (; m_drawnEmoji < m_emoji.size(); ++m_drawnEmoji) {
        const auto& [position, character, glyph] = m_emoji[m_drawnEmoji];
        const auto line = m_layout.lineForTextPosition(position);
        const auto runs = line.isValid() && position < line.textStart() + line.textLength()
            ? line.glyphRuns(position, static_cast<int>(glyph.standIn.size()))
            : QList<QGlyphRun> {};
        // The lines after the last one that was asked for are not there.
        if (runs.isEmpty() || runs.front().positions().isEmpty())
            continue;
        const auto picture = emojiPicture(character, m_font, color, ratio);
        if (!picture)
            return false;
        const auto baseline = (at + runs.front().positions().front()) * ratio;
        // Qt Quick puts glyphs of bitmap fonts on whole pixels like this.
        painter.drawImage(
            QPointF {std::floor(baseline.x()), std::round(baseline.y())} / ratio - picture->origin, picture->image);
    }
    return true;
}

} // namespace kova
