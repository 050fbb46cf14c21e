// The number of unread inbox entries as a badge on a bar button of the host's.
//
// The host calls these whenever it sees fit; the centre never does. A badge is drawn on the view that shows the item,
// so the item must be in a bar. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CGGeometry.h"
#include "Platform/UIKit/UIBarButtonItem.h"
#include "Platform/UIKit/UIColor.h"

#include <cstdint>

namespace kova {

/// Draws the badge when there is something unread, else does nothing.
KOVA_EXPORT void addBadgeCounter(UIBarButtonItem& item);

/// Draws a badge with a number, in place of the one before. It is sized for one or two digits.
KOVA_EXPORT void addBadge(
    UIBarButtonItem& item, std::int64_t number, CGPoint withOffset, UIColor andColor, bool andFilled);

/// Writes the number of unread entries into the badge that is there, "0" too.
KOVA_EXPORT void updateBadge(UIBarButtonItem& item);

KOVA_EXPORT void removeBadge(UIBarButtonItem& item);

} // namespace kova
