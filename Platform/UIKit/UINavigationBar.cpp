#include "Platform/UIKit/UINavigationBar.h"

#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UILabel.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kova {

namespace {

constexpr double titleSize = 17;
/// Left and right of a button's title.
constexpr double buttonPadding = 8;
constexpr double minimumButtonWidth = 44;
/// Between the title and the buttons or the bar's ends.
constexpr double titleMargin = 8;
constexpr const char* backTitle = "Voltar";

double buttonWidth(const UIView& view)
{
    return std::max(minimumButtonWidth, view.intrinsicContentSize().width + 2 * buttonPadding);
}

} // namespace

UINavigationBar::UINavigationBar()
    : m_titleLabel(std::make_shared<UILabel>())
{
    m_titleLabel->setFont(UIFont::boldSystemFont(titleSize));
    m_titleLabel->setTextColor(m_titleColor);
    m_titleLabel->setTextAlignment(NSTextAlignment::center);
    addSubview(m_titleLabel);
}

UINavigationBar::~UINavigationBar()
{
    if (auto* item = m_item.get())
        item->setObserver({});
    clear(m_left);
    clear(m_right);
}

void UINavigationBar::setTintColor(UIColor color)
{
    if (assign(m_tintColor, color))
        tint();
}

void UINavigationBar::setBarTintColor(std::optional<UIColor> color)
{
    assign(m_barTintColor, color);
}

void UINavigationBar::setTitleTextForegroundColor(UIColor color)
{
    m_titleColor = color;
    m_titleLabel->setTextColor(color);
}

void UINavigationBar::show(UINavigationItem& item, std::function<void()> back)
{
    if (auto* before = m_item.get(); before && before != &item)
        before->setObserver({});
    m_item = &item;
    m_back = std::move(back);
    item.setObserver([this] { refresh(); });
    refresh();
}

UIView* UINavigationBar::leftView() const
{
    return m_left.view.get();
}

UIView* UINavigationBar::rightView() const
{
    return m_right.view.get();
}

void UINavigationBar::refresh()
{
    m_title = m_item->title().value_or("");
    m_titleLabel->setText(m_title);
    show(m_left, m_item->leftBarButtonItem());
    show(m_right, m_item->rightBarButtonItem());
    if (!m_left.item && m_back) {
        if (!m_backButton) {
            m_backButton = makeButton(backTitle, false);
            m_backButton->addTarget(
                this,
                [this] {
                    // It is replaced by the next screen's while it runs.
                    if (const auto back = m_back)
                        back();
                },
                UIControlEvents::touchUpInside);
        }
        put(m_left, m_backButton);
    } else if (!m_left.item) {
        put(m_left, nullptr);
    }
    tint();
    setNeedsLayout();
}

void UINavigationBar::show(Side& side, const std::shared_ptr<UIBarButtonItem>& item)
{
    if (side.item == item)
        return;
    clear(side);
    side.item = item;
    if (!item)
        return;
    auto view = item->lastView();
    if (!view) {
        auto button = makeButton(item->title(), item->systemItem() == UIBarButtonSystemItem::done);
        if (item->systemItem() == UIBarButtonSystemItem::trash)
            button->setSymbol(UIButtonSymbol::trash);
        button->addTarget(
            item.get(), [pressed = item.get()] { pressed->sendAction(); }, UIControlEvents::touchUpInside);
        view = std::move(button);
    }
    item->setView(view);
    put(side, std::move(view));
}

void UINavigationBar::put(Side& side, std::shared_ptr<UIView> view)
{
    if (side.view == view)
        return;
    if (side.view && side.view->superview() == this)
        side.view->removeFromSuperview();
    side.view = std::move(view);
    if (side.view)
        addSubview(side.view);
}

void UINavigationBar::clear(Side& side)
{
    // Another bar may show the item by now. In a bar that goes, the views may have been taken apart already.
    const auto item = std::exchange(side.item, nullptr);
    if (item && (!side.view->superview() || side.view->superview() == this))
        item->setView(nullptr);
    put(side, nullptr);
}

void UINavigationBar::tint()
{
    for (const auto& view : {m_left.view, m_right.view}) {
        if (auto* button = dynamic_cast<UIButton*>(view.get()))
            button->setTitleColor(m_tintColor, UIControlState::normal);
    }
}

std::shared_ptr<UIButton> UINavigationBar::makeButton(const std::string& title, bool isBold) const
{
    auto button = std::make_shared<UIButton>();
    button->setTitle(title, UIControlState::normal);
    button->titleLabel().setFont(isBold ? UIFont::boldSystemFont(titleSize) : UIFont::systemFont(titleSize));
    return button;
}

void UINavigationBar::layoutSubviews()
{
    const auto size = bounds().size;
    double left = titleMargin;
    double right = size.width - titleMargin;
    if (m_left.view) {
        m_left.view->setFrame({0, 0, buttonWidth(*m_left.view), size.height});
        left += m_left.view->frame().size.width;
    }
    if (m_right.view) {
        const double width = buttonWidth(*m_right.view);
        m_right.view->setFrame({size.width - width, 0, width, size.height});
        right -= width;
    }
    constexpr auto unlimited = std::numeric_limits<double>::infinity();
    const auto wished = m_titleLabel->sizeThatFits({.width = unlimited, .height = unlimited});
    const double width = std::max(0.0, std::min(wished.width, right - left));
    // In the middle of the bar as long as the buttons leave room there.
    const double x = std::max(left, std::min((size.width - width) / 2, right - width));
    m_titleLabel->setFrame({x, (size.height - wished.height) / 2, width, wished.height});
}

} // namespace kova
