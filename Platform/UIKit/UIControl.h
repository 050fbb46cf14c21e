// A view that the user works: it turns touches into actions.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

/// Bits, as the platform has them.
enum class UIControlEvents : unsigned { touchUpInside = 64 };

class KOVA_EXPORT UIControl : public UIView {
public:
    using UIView::UIView;

    /// The action runs for each such event while its target lives.
    void addTarget(WeakLink<Linkable> target, std::function<void()> action, UIControlEvents forControlEvents);

    /// Runs the actions of an event, in the order in which they were added. A disabled control has none.
    void sendActions(UIControlEvents forControlEvents);

    [[nodiscard]] bool isEnabled() const { return m_isEnabled; }
    void setEnabled(bool enabled) { assign(m_isEnabled, enabled); }
    /// While a finger or the pointer is held down on it.
    [[nodiscard]] bool isHighlighted() const { return m_isHighlighted; }
    void setHighlighted(bool highlighted) { assign(m_isHighlighted, highlighted); }

private:
    struct Action {
        WeakLink<Linkable> target;
        std::function<void()> run;
        UIControlEvents events;
    };

    std::vector<Action> m_actions;
    bool m_isEnabled = true;
    bool m_isHighlighted = false;
};

} // namespace kova
