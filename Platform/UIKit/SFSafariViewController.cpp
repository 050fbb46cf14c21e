#include "Platform/UIKit/SFSafariViewController.h"

#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UINavigationBar.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr double margin = 8;
constexpr double minimumButtonWidth = 44;
constexpr double closeSize = 17;
constexpr double addressSize = 13;
constexpr UIColor barColor = UIColor::withWhite(0.97, 1);

} // namespace

/// The bar and the page.
class SFSafariViewController::ContentView : public UIView {
public:
    explicit ContentView(SFSafariViewController& owner)
    {
        setBackgroundColor(UIColor::whiteColor());
        bar->setBackgroundColor(barColor);
        close->setTitle("OK", UIControlState::normal);
        close->setTitleColor(UIColor::blueColor(), UIControlState::normal);
        close->titleLabel().setFont(UIFont::boldSystemFont(closeSize));
        close->setAccessibilityLabel("Fechar");
        close->addTarget(&owner, [&owner] { owner.dismiss(true); }, UIControlEvents::touchUpInside);
        address->setText(owner.url().absoluteString());
        address->setFont(UIFont::systemFont(addressSize));
        address->setTextAlignment(NSTextAlignment::center);
        bar->addSubview(close);
        bar->addSubview(address);
        addSubview(page);
        addSubview(bar);
    }

    const std::shared_ptr<UIView> bar = std::make_shared<UIView>();
    const std::shared_ptr<UIButton> close = std::make_shared<UIButton>();
    const std::shared_ptr<UILabel> address = std::make_shared<UILabel>();
    const std::shared_ptr<UIView> page = std::make_shared<UIView>();

protected:
    void layoutSubviews() override
    {
        const auto size = bounds().size;
        constexpr double height = UINavigationBar::height;
        bar->setFrame({0, 0, size.width, height});
        page->setFrame({0, height, size.width, std::max(0.0, size.height - height)});
        const double closeWidth = std::max(minimumButtonWidth, close->intrinsicContentSize().width + 2 * margin);
        close->setFrame({0, 0, closeWidth, height});
        const double room = std::max(0.0, size.width - closeWidth - 2 * margin);
        const auto wished = address->intrinsicContentSize();
        address->setFrame({closeWidth + margin, (height - wished.height) / 2, room, wished.height});
    }
};

SFSafariViewController::SFSafariViewController(URL url)
    : m_url(std::move(url))
{
}

SFSafariViewController::~SFSafariViewController() = default;

void SFSafariViewController::setShownAddress(const std::string& address)
{
    if (m_contentView)
        m_contentView->address->setText(address);
}

UIView* SFSafariViewController::pageView() const
{
    return m_contentView ? m_contentView->page.get() : nullptr;
}

UIButton* SFSafariViewController::closeButton() const
{
    return m_contentView ? m_contentView->close.get() : nullptr;
}

void SFSafariViewController::loadView()
{
    m_contentView = std::make_shared<ContentView>(*this);
    setView(m_contentView);
}

} // namespace kova
