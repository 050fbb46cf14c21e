// A drag from the left edge of the window: the screen on top follows the finger and shows the one beneath it.
//
// Let go far enough it goes all the way, and only then is it popped; else it comes back. Until then the screens hear
// nothing. What changes the screens meanwhile ends the drag.

#pragma once

#include "Platform/Qt/ViewNode_p.h"
#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UIWindow.h"

#include <functional>
#include <memory>

namespace kova {

class BackSwipe {
public:
    using Finder = std::function<std::shared_ptr<ViewNode>(const UIView&)>;

    /// `wake` asks for the calls that come once a frame.
    BackSwipe(UIWindow& window, Finder nodeOf, std::function<void()> wake)
        : m_window(window)
        , m_nodeOf(std::move(nodeOf))
        , m_wake(std::move(wake))
    {
    }

    /// A distance in points from where the drag began.
    void drag(DragPhase phase, double distance);

    // Once a frame.

    /// Before the model's layout: ends the drag when the screen that is dragged is on top no more.
    void follow();
    /// Once the items are as the model is: puts them where the drag has them.
    void place();

private:
    enum class Phase { Idle, Held, Released, Settling };

    void begin();
    void move(double distance);
    void conceal();
    void settle(ViewItem& top, ViewItem& beneath);
    void fadeBar(double to, double seconds) const;

    UIWindow& m_window;
    Finder m_nodeOf;
    std::function<void()> m_wake;
    Phase m_phase = Phase::Idle;
    WeakLink<UINavigationController> m_stack;
    WeakLink<UIViewController> m_top;
    WeakLink<UIViewController> m_beneath;
    /// How far the screen stands aside, and stood when the drag began.
    double m_distance = 0;
    double m_start = 0;
    bool m_completes = false;
    /// The pop has been made: the bar's new texts are to appear.
    bool m_hasPopped = false;
};

} // namespace kova
