#include "Platform/UIKit/KeepAlive.h"

#include <algorithm>

namespace kova {

std::shared_ptr<const void> keepAlive(UIViewController& screen)
{
    return screen.weak_from_this().lock();
}

std::shared_ptr<const void> keepAlive(const UIView& view)
{
    if (!view.superview())
        return nullptr;
    const auto& siblings = view.superview()->subviews();
    const auto found = std::ranges::find(siblings, &view, &std::shared_ptr<UIView>::get);
    return found == siblings.end() ? nullptr : *found;
}

} // namespace kova
