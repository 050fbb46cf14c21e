// The toolkit's fonts as Qt's: one family, the system's, and points that are points at every scale.

#pragma once

#include "Platform/UIKit/UIFont.h"

#include <QFont>

namespace kova {

/// Without hinting, so that a text is as wide at every scale factor and breaks at the same places.
[[nodiscard]] QFont qtFont(const UIFont& font);

} // namespace kova
