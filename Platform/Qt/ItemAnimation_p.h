// The way from one state of an item to another, drawn by Qt's animations.

#pragma once

#include "Platform/Qt/ViewItem_p.h"

#include <QEasingCurve>
#include <functional>

namespace kova {

/// How long a screen slides to its side.
inline constexpr double slideSeconds = 0.35;
/// How far the screen beneath moves meanwhile, as a part of that.
inline constexpr double parallax = 0.3;

struct ItemAnimation {
    /// "shift", "swipe", "fade" or "alpha". One that runs already on the item is replaced, and its end is not told.
    const char* property;
    QVariant from;
    QVariant to;
    double seconds;
    QEasingCurve::Type curve = QEasingCurve::OutCubic;

    /// Begins now; `ended` runs in the event loop after the last step, while the item lives.
    void run(ViewItem& item, std::function<void()> ended = {}) const;
    /// Ends one animation of the item where it stands; its end is not told.
    static void stop(ViewItem& item, const char* property);
    /// Ends what runs on the item, wherever it stands, and brings it to rest.
    static void reset(ViewItem& item);
};

} // namespace kova
