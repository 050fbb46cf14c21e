// One run through a tree of views in which every set of constraints that changed is solved and every view that needs it
// places its subviews.
//
// A view that keeps its frame is the root of a set of its own: it and the views whose frames constraints decide, down
// to the next views that keep theirs. So each cell of a table is one small set. Outer sets are solved before inner
// ones. Main thread only.

#pragma once

#include "Platform/UIKit/LayoutSet.h"
#include "Platform/UIKit/UIView.h"

#include <memory>
#include <vector>

namespace kova {

class LayoutPass {
public:
    /// `root` is one that keeps its frame, or lies in no other view.
    void run(UIView& root);

private:
    struct Visit {
        UIView* view;
        /// Keeps it alive: a view that places its subviews may also remove some.
        std::shared_ptr<UIView> owner;
        const UIView* superview;
        bool isBeneathDone = false;
    };

    void runOnce(UIView& root);
    static void settle(UIView& view);

    LayoutSet m_set;
};

} // namespace kova
