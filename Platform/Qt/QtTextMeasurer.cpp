#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/QtTextMeasurer_p.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QString>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <limits>

namespace kova {

QFont qtFont(const UIFont& font)
{
    auto result = QGuiApplication::font();
    result.setPixelSize(std::max(1, static_cast<int>(std::lround(font.pointSize))));
    result.setWeight(font.weight == UIFontWeight::Bold ? QFont::Bold : QFont::Normal);
    result.setHintingPreference(QFont::PreferNoHinting);
    return result;
}

CGSize QtTextMeasurer::size(std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const
{
    if (text.empty())
        return {};
    auto string = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    string.replace(QLatin1Char {'\n'}, QChar {QChar::LineSeparator});
    const auto qFont = qtFont(font);
    QTextLayout layout {string, qFont};
    QTextOption option;
    option.setWrapMode(numberOfLines == 1 ? QTextOption::NoWrap : QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);

    const bool isBounded = std::isfinite(maximumWidth);
    const double lineWidth = isBounded ? std::max(0.0, maximumWidth) : std::numeric_limits<int>::max() / 256.0;
    double width = 0;
    double height = 0;
    int end = 0;
    layout.beginLayout();
    for (int count = 0; numberOfLines <= 0 || count < numberOfLines; ++count) {
        auto line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(lineWidth);
        width = std::max(width, line.naturalTextWidth());
        height += line.height();
        end = line.textStart() + line.textLength();
    }
    layout.endLayout();
    // What does not fit is cut with an ellipsis, which takes room as well.
    if (end < string.size())
        width += QFontMetricsF {qFont}.horizontalAdvance(QChar {0x2026});
    return {.width = std::ceil(isBounded ? std::min(width, lineWidth) : width), .height = std::ceil(height)};
}

} // namespace kova
