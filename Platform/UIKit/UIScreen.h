// The screen: how many pixels a point has.

#pragma once

#include "Platform/Foundation/Export.h"

namespace kova {

class KOVA_EXPORT UIScreen {
public:
    /// The device's screen; a drawing platform sets its scale. Main thread only.
    [[nodiscard]] static UIScreen& main();

    double scale = 1;
};

} // namespace kova
