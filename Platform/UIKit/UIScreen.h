// The screen: how many pixels a point has.

#pragma once

namespace kova {

class UIScreen {
public:
    /// The device's screen; a drawing platform sets its scale. Main thread only.
    [[nodiscard]] static UIScreen& main();

    double scale = 1;
};

} // namespace kova
