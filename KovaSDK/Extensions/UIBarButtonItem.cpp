#include "KovaSDK/Extensions/UIBarButtonItem.h"

#include "KovaSDK/Extensions/CAShapeLayer.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/UIScreen.h"
#include "Platform/UIKit/UIView.h"

#include <memory>
#include <string>

namespace kova {

namespace {

// Its address is the key under which an item keeps its badge.
constexpr char badgeKey = 0;

std::shared_ptr<CAShapeLayer> badgeLayer(const UIBarButtonItem& item)
{
    return std::dynamic_pointer_cast<CAShapeLayer>(item.associatedObject(&badgeKey));
}

} // namespace

void addBadgeCounter(UIBarButtonItem& item)
{
    if (const auto unread = NotificationStorage::totalUnreadNotifications())
        addBadge(item, static_cast<std::int64_t>(unread), {}, UIColor::redColor(), true);
}

void addBadge(UIBarButtonItem& item, std::int64_t number, CGPoint withOffset, UIColor andColor, bool andFilled)
{
    const auto view = std::dynamic_pointer_cast<UIView>(item.value("view"));
    if (!view)
        return;
    removeBadge(item);

    constexpr double radius = 7.0;
    const CGPoint center {.x = view->frame().size.width - (withOffset.x + radius), .y = withOffset.y + radius};
    const auto badge = std::make_shared<CAShapeLayer>();
    drawCircleAtLocation(*badge, center, radius, andColor, andFilled);
    view->layer().addSublayer(badge);

    const bool isWide = number > 9;
    const auto text = std::make_shared<CATextLayer>();
    text->setString(std::to_string(number));
    text->setAlignmentMode(NSTextAlignment::center);
    text->setFontSize(11.0);
    text->setFrame({center.x - (isWide ? 6 : 4), withOffset.y, isWide ? 12.0 : 8.0, 16.0});
    text->setForegroundColor(andFilled ? UIColor::whiteColor() : andColor);
    text->setBackgroundColor(UIColor::clearColor());
    text->setContentsScale(UIScreen::main().scale);
    badge->addSublayer(text);

    item.setAssociatedObject(&badgeKey, badge);
}

void updateBadge(UIBarButtonItem& item)
{
    const auto unread = NotificationStorage::totalUnreadNotifications();
    const auto badge = badgeLayer(item);
    if (!badge)
        return;
    for (const auto& layer : badge->sublayers()) {
        if (auto* text = dynamic_cast<CATextLayer*>(layer.get())) {
            // The circle stays whatever the number: a badge of "0" is contract.
            text->setString(std::to_string(unread));
            return;
        }
    }
}

void removeBadge(UIBarButtonItem& item)
{
    // The item keeps the layer: only a new badge replaces it.
    if (const auto badge = badgeLayer(item))
        badge->removeFromSuperlayer();
}

} // namespace kova
