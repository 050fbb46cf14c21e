// What the bridge keeps of one view: the item that shows it, those of its subviews and layers, and what of them is out
// of date.

#pragma once

#include "Platform/Qt/ViewItem_p.h"
#include "Platform/UIKit/UIView.h"

#include <memory>
#include <vector>

namespace kova {

struct ViewNode {
    /// Null once the view has been destroyed.
    WeakLink<UIView> view;
    std::unique_ptr<ViewItem> item;
    /// From back to front.
    std::vector<std::shared_ptr<ViewNode>> children {};
    std::vector<std::unique_ptr<ViewItem>> layers {};

    bool needsChildren = true;
    bool needsFrame = true;
    bool needsLook = true;
    /// It is in the list of what is to be brought up to date.
    bool isListed = false;
    /// It has been seen, so that a change is a change to the user too.
    bool isShown = false;
    /// How long the change of its alpha takes, in seconds.
    double alphaDuration = 0;
    /// The alpha that the item has, or is on its way to.
    double alpha = 1;
    /// It shows what has gone, for the length of an animation, and never stands for its view again.
    bool isGhost = false;
};

} // namespace kova
