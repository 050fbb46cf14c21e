#include "Platform/Qt/PaintedText_p.h"

#include <QPainter>
#include <QTextBoundaryFinder>
#include <QtMath>
#include <algorithm>
#include <limits>
#include <vector>

namespace kova {

namespace {

constexpr QChar ellipsis {0x2026};
constexpr double unlimited = std::numeric_limits<int>::max() / 256.0;

/// Lines below each other as far as they go into a label.
struct Block {
    double width = 0;
    double height = 0;
    int lines = 0;
    /// Where the last line begins and ends.
    qsizetype lastBegin = 0;
    qsizetype end = 0;
};

Block layOut(EmojiLayout& layout, double width, int maximumLineCount)
{
    Block block;
    layout.begin();
    while (block.lines < maximumLineCount) {
        const auto line = layout.nextLine(width);
        if (!line)
            break;
        block.width = std::max(block.width, line->width);
        block.height += line->height;
        block.lastBegin = block.end;
        block.end = line->end;
        ++block.lines;
    }
    layout.end();
    return block;
}

/// As much of a line as fits together with an ellipsis, which is appended.
QString elided(const QString& line, const QFont& font, double width)
{
    std::vector<qsizetype> ends {0};
    QTextBoundaryFinder finder {QTextBoundaryFinder::Grapheme, line};
    while (finder.toNextBoundary() > 0)
        ends.push_back(finder.position());
    const auto isTooWide = [&](qsizetype end) {
        EmojiLayout layout {line.left(end) + ellipsis, font, {}};
        return layOut(layout, unlimited, 1).width > width;
    };
    const auto found = std::ranges::partition_point(ends, [&](qsizetype end) { return !isTooWide(end); });
    return line.left(found == ends.begin() ? 0 : *(found - 1)) + ellipsis;
}

QTextOption optionOf(const PaintedText::Style& style)
{
    QTextOption option;
    option.setAlignment(style.alignment);
    option.setWrapMode(style.maximumLineCount == 1 ? QTextOption::NoWrap : QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

QString fitted(QString text, const PaintedText::Style& style, QSizeF size)
{
    const QChar separator {QChar::LineSeparator};
    text.replace(QLatin1Char {'\n'}, separator);
    EmojiLayout layout {text, style.font, optionOf(style)};
    const auto block = layOut(layout, size.width(), style.maximumLineCount);
    if (block.end == text.size() && (style.maximumLineCount > 1 || block.width <= size.width()))
        return text;
    const auto end = text.indexOf(separator, block.lastBegin);
    const auto line = text.sliced(block.lastBegin, (end < 0 ? text.size() : end) - block.lastBegin);
    return text.left(block.lastBegin) + elided(line, style.font, size.width());
}

} // namespace

PaintedText::PaintedText(const QString& text, const Style& style, QSizeF size, double pixelRatio)
    : m_layout(fitted(text, style, size), style.font, optionOf(style))
    , m_color(style.color)
    , m_image(qCeil(size.width() * pixelRatio), qCeil(size.height() * pixelRatio), QImage::Format_ARGB32_Premultiplied)
{
    const auto block = layOut(m_layout, size.width(), style.maximumLineCount);
    m_origin = {0, (size.height() - block.height) / 2};
    m_image.setDevicePixelRatio(pixelRatio);
    m_image.fill(Qt::transparent);
    QPainter painter {&m_image};
    m_layout.drawLetters(painter, m_origin, m_color);
}

bool PaintedText::isFor(const QString& text, const QFont& font)
{
    return EmojiLayout {text, font, {}}.emojiCount() > fewEmoji;
}

bool PaintedText::finish()
{
    QPainter painter {&m_image};
    return m_layout.drawEmoji(painter, m_origin, m_color);
}

} // namespace kova
