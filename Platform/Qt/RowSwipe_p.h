// A row that is dragged to the left shows the button that deletes it; dragged far enough, it is deleted at once.
//
// At most one row stands open.

#pragma once

#include "Platform/Qt/ViewNode_p.h"

#include <functional>
#include <memory>

namespace kova {

class RowSwipe {
public:
    /// `commit` runs once the row has been dragged all the way.
    void drag(const std::shared_ptr<ViewNode>& row, DragPhase phase, double distance, std::function<void()> commit);
    /// Brings the open row back. False when there is none.
    bool close();

private:
    std::weak_ptr<ViewNode> m_open;
    std::weak_ptr<ViewNode> m_dragged;
    double m_start = 0;
};

} // namespace kova
