#include "Platform/UIKit/UIButton.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr double titlePadding = 6;
constexpr double symbolSide = 24;

} // namespace

UIButton::UIButton()
    : UIButton(CGRect {})
{
}

UIButton::UIButton(const CGRect& frame)
    : UIControl(frame)
    , m_titleLabel(std::make_shared<UILabel>())
{
    m_titleLabel->setTextColor(UIColor::whiteColor());
    m_titleLabel->setTextAlignment(NSTextAlignment::center);
    addSubview(m_titleLabel);
}

// There is one state, the normal one.

const std::optional<std::string>& UIButton::title(UIControlState) const
{
    return m_titleLabel->text();
}

void UIButton::setTitle(std::optional<std::string> title, UIControlState)
{
    m_titleLabel->setText(std::move(title));
}

const UIColor& UIButton::titleColor(UIControlState) const
{
    return m_titleLabel->textColor();
}

void UIButton::setTitleColor(UIColor color, UIControlState)
{
    m_titleLabel->setTextColor(color);
}

void UIButton::setSymbol(UIButtonSymbol symbol)
{
    assign(m_symbol, symbol);
    const bool hasSymbol = symbol != UIButtonSymbol::none;
    m_titleLabel->setHidden(hasSymbol);
    setAccessibilityLabel(hasSymbol ? title() : std::nullopt);
    invalidateIntrinsicContentSize();
}

CGRect UIButton::symbolFrame() const
{
    const auto space = frame().size;
    return {(space.width - symbolSide) / 2, (space.height - symbolSide) / 2, symbolSide, symbolSide};
}

CGSize UIButton::intrinsicContentSize() const
{
    if (m_symbol != UIButtonSymbol::none)
        return {.width = symbolSide, .height = symbolSide + 2 * titlePadding};
    const auto title = m_titleLabel->intrinsicContentSize();
    return {.width = title.width, .height = title.height + 2 * titlePadding};
}

CGSize UIButton::sizeThatFits(CGSize) const
{
    return intrinsicContentSize();
}

void UIButton::layoutSubviews()
{
    const auto space = frame().size;
    const auto wished = m_titleLabel->intrinsicContentSize();
    const CGSize size {.width = std::min(wished.width, space.width), .height = std::min(wished.height, space.height)};
    m_titleLabel->setFrame({(space.width - size.width) / 2, (space.height - size.height) / 2, size.width, size.height});
}

} // namespace kova
