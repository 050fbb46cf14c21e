#include "KovaSDK/Push/Central/CentralButton.h"

#include "Platform/Foundation/Print.h"

#include <algorithm>
#include <utility>

namespace kova {

CentralButton::CentralButton(const CGRect& frame)
    : UIButton(frame)
{
    addBadgeToButton(std::nullopt);
}

CentralButton::CentralButton(const NSCoder&)
{
    addBadgeToButton(std::nullopt);
    fatalError("init(coder:) is not implemented");
}

void CentralButton::setBadge(std::optional<std::string> badge)
{
    m_badge = std::move(badge);
    addBadgeToButton(m_badge);
}

void CentralButton::addBadgeToButton(const std::optional<std::string>& badge)
{
    badgeLabel->setText(badge);
    badgeLabel->setTextColor(badgeTextColor);
    badgeLabel->setBackgroundColor(badgeBackgroundColor);
    badgeLabel->setFont(badgeFont);
    badgeLabel->sizeToFit();
    badgeLabel->setTextAlignment(NSTextAlignment::center);

    // Never narrower than high, so that one character stands in a circle.
    const auto fitted = badgeLabel->frame().size;
    const double height = std::max(fitted.height + 5.0, 18.0);
    const double width = std::max(height, fitted.width + 10.0);
    CGPoint origin {.x = frame().size.width - width * 0.5, .y = height * -0.5};
    if (badgeEdgeInsets) {
        // The fitted height, not the badge's: contract.
        origin.x = badgeEdgeInsets->left - badgeEdgeInsets->right + (bounds().size.width - 10.0);
        origin.y = fitted.height * -0.5 - 10.0 + (badgeEdgeInsets->top - badgeEdgeInsets->bottom);
    }
    badgeLabel->setFrame({origin, {.width = width, .height = height}});
    badgeLabel->layer().setCornerRadius(height * 0.5);
    badgeLabel->setClipsToBounds(true);
    addSubview(badgeLabel);
    badgeLabel->setHidden(!badge.has_value());
}

} // namespace kova
