#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/QtTextMeasurer_p.h"
#include "Platform/Qt/VisibleText_p.h"

#include <QGuiApplication>
#include <algorithm>
#include <cmath>

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
    const auto laidOut = layOut(text, font, maximumWidth, numberOfLines);
    return {.width = std::ceil(laidOut.width), .height = std::ceil(laidOut.height)};
}

} // namespace kova
