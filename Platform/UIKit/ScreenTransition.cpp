#include "Platform/UIKit/ScreenTransition.h"

#include "Platform/UIKit/UIWindow.h"

#include <algorithm>
#include <iterator>
#include <ranges>

namespace kova {

ScreenTransition::ScreenTransition(UIWindow* window, bool animated)
    : m_window(window)
    , m_animated(animated)
{
}

ScreenTransition::Screens ScreenTransition::shown(const UIWindow& window, const UIViewController* presentedUpTo)
{
    Screens screens;
    for (auto screen = window.rootViewController(); screen; screen = screen->presentedViewController()) {
        if (screen->modalPresentationStyle() == UIModalPresentationStyle::fullScreen)
            screens.clear();
        screens.push_back(screen);
        if (screen.get() == presentedUpTo)
            break;
    }
    return screens;
}

UIViewController* ScreenTransition::innermost(UIViewController* screen)
{
    while (screen && screen->childForAppearance())
        screen = screen->childForAppearance();
    return screen;
}

void ScreenTransition::announce(UITransition::Kind kind, UIViewController* from, UIViewController& to)
{
    m_kind = kind;
    m_from = from->shared_from_this();
    m_to = to.shared_from_this();
}

void ScreenTransition::run(const Screens& leaving, const Screens& entering, const std::function<void()>& change)
{
    for (const auto& screen : entering)
        screen->prepareForAppearance();
    begin(leaving, false);
    begin(entering, true);
    change();
    if (auto* window = m_window.get()) {
        window->layoutIfNeeded();
        auto* to = innermost(m_to.get());
        // A handler may have gone on to somewhere else.
        if (m_kind && to->isOnScreen() && window->observer())
            window->observer()->didMove({.kind = *m_kind, .from = *m_from, .to = *to, .animated = m_animated});
    }
    end(leaving, false);
    end(entering, true);
}

void ScreenTransition::runInWindow(const Screens& before, const Screens& after, const std::function<void()>& change)
{
    const auto isMissingIn = [](const Screens& screens) {
        return [&](const auto& screen) { return std::ranges::find(screens, screen) == screens.end(); };
    };
    // The one on top is the first to hear.
    Screens leaving;
    Screens entering;
    std::ranges::copy_if(before | std::views::reverse, std::back_inserter(leaving), isMissingIn(after));
    std::ranges::copy_if(after | std::views::reverse, std::back_inserter(entering), isMissingIn(before));
    run(leaving, entering, [&] {
        change();
        auto* window = m_window.get();
        const auto remaining = window ? shown(*window) : Screens {};
        for (const auto& screen : leaving) {
            if (screen->isViewLoaded() && isMissingIn(remaining)(screen))
                screen->view()->removeFromSuperview();
        }
        if (window)
            window->stack(remaining);
    });
}

void ScreenTransition::begin(const Screens& screens, bool appear)
{
    for (const auto& screen : screens) {
        // A handler of another screen may have sent this one away again.
        const auto* parent = screen->parent();
        const bool isWanted
            = parent ? parent->isOnScreen() && parent->childForAppearance() == screen.get() : screen->isPlaced();
        if (!appear || isWanted)
            screen->beginAppearance(appear, m_animated);
    }
}

void ScreenTransition::end(const Screens& screens, bool appear)
{
    for (const auto& screen : screens)
        screen->endAppearance(appear, m_animated);
}

} // namespace kova
