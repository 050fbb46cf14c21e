#include "Platform/UIKit/UIControl.h"

#include "Platform/UIKit/KeepAlive.h"

#include <utility>

namespace kova {

void UIControl::addTarget(WeakLink<Linkable> target, std::function<void()> action, UIControlEvents forControlEvents)
{
    m_actions.push_back({.target = std::move(target), .run = std::move(action), .events = forControlEvents});
}

void UIControl::sendActions(UIControlEvents forControlEvents)
{
    if (!m_isEnabled)
        return;
    // An action may add others, or close the screen that this control is on.
    for (const auto actions = m_actions; const auto& action : actions) {
        const bool isMeant = (static_cast<unsigned>(action.events) & static_cast<unsigned>(forControlEvents)) != 0;
        if (!isMeant || !action.target)
            continue;
        const auto target = keepAlive(action.target.get());
        action.run();
    }
}

} // namespace kova
