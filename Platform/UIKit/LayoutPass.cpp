#include "Platform/UIKit/LayoutPass.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

/// Placing subviews may ask for layout again; a view that always does is not followed for ever.
constexpr int maximumRounds = 8;

} // namespace

void LayoutPass::run(UIView& root)
{
    for (int round = 0; round < maximumRounds && root.m_hasPendingLayout; ++round)
        runOnce(root);
}

void LayoutPass::runOnce(UIView& root)
{
    std::vector<Visit> ahead;
    ahead.push_back({.view = &root, .owner = nullptr, .superview = root.m_superview});
    while (!ahead.empty()) {
        auto& visit = ahead.back();
        auto& view = *visit.view;
        if (visit.isBeneathDone || view.m_superview != visit.superview) {
            settle(view);
            ahead.pop_back();
            continue;
        }
        visit.isBeneathDone = true;
        if (view.isLayoutRoot() && std::exchange(view.m_needsSolving, false))
            m_set.solve(view);
        if (std::exchange(view.m_needsLayout, false))
            view.layoutSubviews();
        for (const auto& child : view.m_subviews) {
            if (child->m_hasPendingLayout)
                ahead.push_back({.view = child.get(), .owner = child, .superview = &view});
        }
    }
}

// The mark goes only now, since what is asked for beneath a view that bears it goes no further up.
void LayoutPass::settle(UIView& view)
{
    view.m_hasPendingLayout = view.m_needsLayout || (view.isLayoutRoot() && view.m_needsSolving)
        || std::ranges::any_of(view.m_subviews, [](const auto& child) { return child->m_hasPendingLayout; });
}

} // namespace kova
