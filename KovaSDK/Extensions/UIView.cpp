#include "KovaSDK/Extensions/UIView.h"

#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIActivityIndicatorView.h"

#include <memory>

namespace kova {

void lock(UIView& view)
{
    if (view.viewWithTag(busyOverlayTag))
        return;
    const auto overlay = std::make_shared<UIView>();
    overlay->setTag(busyOverlayTag);
    view.addSubview(overlay);
    overlay->setBackgroundColor(UIColor::withWhite(0, 0.4));
    overlay->setTranslatesAutoresizingMaskIntoConstraints(false);
    const std::map<std::string, UIView*> views {{"backGrounView", overlay.get()}};
    view.addConstraints(NSLayoutConstraint::constraints("H:|-0-[backGrounView]-0-|", views));
    view.addConstraints(NSLayoutConstraint::constraints("V:|-0-[backGrounView]-0-|", views));

    const auto indicator = std::make_shared<UIActivityIndicatorView>(UIActivityIndicatorViewStyle::whiteLarge);
    indicator->setTranslatesAutoresizingMaskIntoConstraints(false);
    overlay->addSubview(indicator);
    for (const auto center : {NSLayoutAttribute::centerX, NSLayoutAttribute::centerY})
        overlay->addConstraint(std::make_shared<NSLayoutConstraint>(
            indicator.get(), center, NSLayoutRelation::equal, overlay.get(), center, 1.0, 0.0));

    UIView::animate(
        0.3, [&] { overlay->setAlpha(1.0); },
        [waiting = std::weak_ptr {indicator}](bool) {
            if (const auto wheel = waiting.lock())
                wheel->startAnimating();
        });
}

void unlock(UIView& view)
{
    const WeakLink<UIView> overlay {view.viewWithTag(busyOverlayTag)};
    if (!overlay)
        return;
    UIView::animate(
        0.2, [&] { overlay->setAlpha(0.0); },
        [overlay](bool) {
            if (overlay)
                overlay->removeFromSuperview();
        });
}

} // namespace kova
