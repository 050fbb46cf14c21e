// Keeps an object of the toolkit alive while a handler of it runs: what the handler does may close its own screen.

#pragma once

#include "Platform/UIKit/UIViewController.h"

#include <memory>

namespace kova {

/// A share in the screen; null when nobody shares it (it is still being made, or lives on the stack).
[[nodiscard]] std::shared_ptr<const void> keepAlive(UIViewController& screen);
/// A share in the view; null when it lies in no other view.
[[nodiscard]] std::shared_ptr<const void> keepAlive(const UIView& view);

/// The same for what is known as a target or a delegate; null for null, and for what is neither screen nor view.
template <typename Object> [[nodiscard]] std::shared_ptr<const void> keepAlive(Object* object)
{
    if (auto* screen = dynamic_cast<UIViewController*>(object))
        return keepAlive(*screen);
    if (auto* view = dynamic_cast<UIView*>(object))
        return keepAlive(*view);
    return nullptr;
}

} // namespace kova
