// What a drawing platform hears of a window: each change of something visible, and the moves between screens.
//
// The model is in its new state when a call comes. It comes in the midst of the change: an observer notes it and reads
// the model later, after layout. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UITableView.h"

namespace kova {

class UIView;
class UIViewController;

enum class UIChange {
    /// Colours, fonts, texts, pictures, layers, visibility: what is drawn inside the frame.
    Appearance,
    /// The frame, or the origin of the bounds.
    Geometry,
    /// Subviews came, went or changed their order.
    Hierarchy,
    /// Layout is pending in the window; the view is the one that asked for it.
    Layout,
};

struct UITransition {
    enum class Kind { Present, Dismiss, Push, Pop };

    Kind kind;
    /// The screen that was on top before, and the one that is now.
    UIViewController& from;
    UIViewController& to;
    bool animated;
};

/// What a batch did to the rows, as far as it fitted; `reloadedWhole` when it did not.
struct UITableViewUpdate {
    struct Row {
        IndexPath indexPath;
        UITableViewRowAnimation animation;
        /// The cell that showed a deleted or reloaded row; null if the row was not visible.
        std::shared_ptr<UITableViewCell> cell {};
    };

    std::vector<Row> deleted {};
    std::vector<Row> inserted {};
    std::vector<Row> reloaded {};
    bool reloadedWhole = false;
};

class KOVA_EXPORT UIWindowObserver {
public:
    virtual ~UIWindowObserver() = default;

    virtual void viewDidChange(UIView& view, UIChange change) = 0;
    /// The view goes out of the window or is destroyed: forget it and what lies beneath it.
    virtual void viewWillLeave(UIView& view) = 0;
    virtual void didMove(const UITransition&) { }
    virtual void tableDidUpdate(UITableView&, const UITableViewUpdate&) { }
};

} // namespace kova
