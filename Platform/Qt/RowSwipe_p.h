// A row that is dragged to the left shows the button that deletes it; dragged far enough, it is deleted when it is let
// go of.
//
// At most one row stands open. It stays open, or in the hand, while other rows come and go.

#pragma once

#include "Platform/Qt/ViewNode_p.h"

#include <memory>

namespace kova {

class RowSwipe {
public:
    /// Returns true if the drag ended so far to the left that the row is to be deleted: it slides out from here on.
    [[nodiscard]] bool drag(const std::shared_ptr<ViewNode>& row, DragPhase phase, double distance);
    /// Brings the open row back. False when there is none.
    bool close();
    /// The row's cell has left its table: what a hand still does to its item means nothing.
    void forget(const ViewNode& row);

private:
    std::weak_ptr<ViewNode> m_open;
    double m_start = 0;
};

} // namespace kova
