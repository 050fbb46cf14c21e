#include "Platform/UIKit/UILabel.h"

#include "Platform/UIKit/TextMeasurer.h"

#include <limits>
#include <utility>

namespace kova {

void UILabel::setText(std::optional<std::string> text)
{
    if (m_text == text)
        return;
    m_text = std::move(text);
    invalidateIntrinsicContentSize();
}

void UILabel::setFont(UIFont font)
{
    if (m_font == font)
        return;
    m_font = font;
    invalidateIntrinsicContentSize();
}

void UILabel::setNumberOfLines(int lines)
{
    if (m_numberOfLines == lines)
        return;
    m_numberOfLines = lines;
    invalidateIntrinsicContentSize();
}

CGSize UILabel::intrinsicContentSize() const
{
    constexpr auto unlimited = std::numeric_limits<double>::infinity();
    return sizeThatFits({unlimited, unlimited});
}

CGSize UILabel::sizeThatFits(CGSize size) const
{
    return m_text ? TextMeasurer::shared()->size(*m_text, m_font, size.width, m_numberOfLines) : CGSize {};
}

} // namespace kova
