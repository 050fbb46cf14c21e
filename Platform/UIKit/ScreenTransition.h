// One move from screens to others: who hears what, in which order, and when the views change places.
//
// Those that leave hear that they will, those that come hear that they will, then the change is made and laid out, the
// window's observer hears of it, and both hear that it is done. A handler may begin another move meanwhile: each screen
// still hears its calls in pairs. Main thread only.

#pragma once

#include "Platform/UIKit/UIViewController.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kova {

class ScreenTransition {
public:
    using Screens = std::vector<std::shared_ptr<UIViewController>>;

    /// The screens that a window shows, the first beneath: those from the last one that fills the screen on.
    /// `presentedUpTo` cuts off what lies above that one; null: nothing.
    [[nodiscard]] static Screens shown(const UIWindow& window, const UIViewController* presentedUpTo = nullptr);
    /// The screen that is seen of a stack, and of a stack within it.
    [[nodiscard]] static UIViewController* innermost(UIViewController* screen);

    /// A change of what is seen in a window.
    ScreenTransition(UIWindow* window, bool animated);

    /// For the window's observer, which is told nothing without it: the screen that was seen before, and the one in
    /// which the next is seen.
    void announce(UITransition::Kind kind, UIViewController* from, UIViewController& to);
    void run(const Screens& leaving, const Screens& entering, const std::function<void()>& change);
    /// Between what a window shows and what it is to show.
    void runInWindow(const Screens& before, const Screens& after, const std::function<void()>& change);

private:
    void begin(const Screens& screens, bool appear);
    void end(const Screens& screens, bool appear);

    WeakLink<UIWindow> m_window;
    bool m_animated;
    std::optional<UITransition::Kind> m_kind;
    std::shared_ptr<UIViewController> m_from;
    std::shared_ptr<UIViewController> m_to;
};

} // namespace kova
