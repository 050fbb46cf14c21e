#include "Platform/UIKit/UIAlertController.h"

#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UIScreen.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kova {

namespace {

constexpr double boxWidth = 270;
constexpr double cornerRadius = 14;
constexpr double padding = 16;
constexpr double textGap = 4;
constexpr double buttonHeight = 44;
constexpr double titleSize = 17;
constexpr double messageSize = 13;
constexpr UIColor dimColor = UIColor::withWhite(0, 0.4);
constexpr UIColor lineColor = UIColor::withWhite(0.78, 1);
/// So many buttons stand in one row.
constexpr std::size_t buttonsInARow = 2;

std::shared_ptr<UILabel> makeLabel(const std::optional<std::string>& text, UIFont font)
{
    auto label = std::make_shared<UILabel>();
    label->setText(text);
    label->setFont(font);
    label->setNumberOfLines(0);
    label->setTextAlignment(NSTextAlignment::center);
    return label;
}

} // namespace

/// The dimmed view and the box.
class UIAlertController::ContentView : public UIView {
public:
    explicit ContentView(UIAlertController& owner)
        : m_title(makeLabel(owner.title(), UIFont::boldSystemFont(titleSize)))
        , m_message(makeLabel(owner.message(), UIFont::systemFont(messageSize)))
    {
        setBackgroundColor(dimColor);
        box->setBackgroundColor(UIColor::whiteColor());
        box->layer().setCornerRadius(cornerRadius);
        box->layer().setMasksToBounds(true);
        box->addSubview(m_title);
        box->addSubview(m_message);
        for (std::size_t index = 0; index < owner.actions().size(); ++index)
            addButton(owner, index);
        addSubview(box);
    }

    const std::shared_ptr<UIView> box = std::make_shared<UIView>();

protected:
    void layoutSubviews() override
    {
        double y = padding;
        for (const auto& label : {m_title, m_message}) {
            const double width = boxWidth - 2 * padding;
            const auto size = label->sizeThatFits({.width = width, .height = std::numeric_limits<double>::infinity()});
            label->setFrame({padding, y, width, size.height});
            y += size.height > 0 ? size.height + textGap : 0;
        }
        y += padding - textGap;
        const bool isRow = m_buttons.size() <= buttonsInARow;
        const double width = isRow ? boxWidth / std::max(1.0, static_cast<double>(m_buttons.size())) : boxWidth;
        const double hair = 1 / UIScreen::main().scale;
        double x = 0;
        for (std::size_t index = 0; index < m_buttons.size(); ++index) {
            m_buttons[index]->setFrame({x, y, width, buttonHeight});
            // Each button's line is above it, but for those that stand to the right of another.
            if (isRow && index > 0)
                m_lines[index]->setFrame({x, y, hair, buttonHeight});
            else
                m_lines[index]->setFrame({0, y, boxWidth, hair});
            if (isRow)
                x += width;
            else
                y += buttonHeight;
        }
        if (isRow && !m_buttons.empty())
            y += buttonHeight;
        const auto size = bounds().size;
        box->setFrame({(size.width - boxWidth) / 2, (size.height - y) / 2, boxWidth, y});
    }

private:
    void addButton(UIAlertController& owner, std::size_t index)
    {
        const auto& action = owner.actions()[index];
        auto button = std::make_shared<UIButton>();
        button->setTitle(action.title, UIControlState::normal);
        const bool isDestructive = action.style == UIAlertActionStyle::destructive;
        button->setTitleColor(isDestructive ? UIColor::redColor() : UIColor::blueColor(), UIControlState::normal);
        const bool isCancel = action.style == UIAlertActionStyle::cancel;
        button->titleLabel().setFont(isCancel ? UIFont::boldSystemFont(titleSize) : UIFont::systemFont(titleSize));
        button->addTarget(&owner, [&owner, index] { owner.userChooses(index); }, UIControlEvents::touchUpInside);
        auto line = std::make_shared<UIView>();
        line->setBackgroundColor(lineColor);
        box->addSubview(button);
        box->addSubview(line);
        m_buttons.push_back(std::move(button));
        m_lines.push_back(std::move(line));
    }

    std::shared_ptr<UILabel> m_title;
    std::shared_ptr<UILabel> m_message;
    std::vector<std::shared_ptr<UIButton>> m_buttons;
    /// As thin as can be seen, one for each button.
    std::vector<std::shared_ptr<UIView>> m_lines;
};

UIAlertController::UIAlertController(
    std::optional<std::string> title, std::optional<std::string> message, UIAlertControllerStyle preferredStyle)
    : m_message(std::move(message))
    , m_preferredStyle(preferredStyle)
{
    setTitle(std::move(title));
    setModalPresentationStyle(UIModalPresentationStyle::overFullScreen);
}

UIAlertController::~UIAlertController() = default;

void UIAlertController::addAction(UIAlertAction action)
{
    m_actions.push_back(std::move(action));
}

void UIAlertController::userChooses(std::size_t action)
{
    auto* presenter = presentingViewController();
    if (!presenter || action >= m_actions.size())
        return;
    const auto self = keepAlive(*this);
    const auto handler = m_actions[action].handler;
    presenter->dismiss(true);
    if (handler)
        handler();
}

UIView* UIAlertController::boxView() const
{
    return m_contentView ? m_contentView->box.get() : nullptr;
}

void UIAlertController::loadView()
{
    m_contentView = std::make_shared<ContentView>(*this);
    setView(m_contentView);
}

} // namespace kova
