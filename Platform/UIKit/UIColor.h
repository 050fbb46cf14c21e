// A colour: red, green, blue and alpha, each from 0 to 1.

#pragma once

#include "Platform/Foundation/Export.h"

namespace kova {

struct KOVA_EXPORT UIColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    /// A grey between black (0) and white (1).
    [[nodiscard]] static constexpr UIColor withWhite(double white, double alpha)
    {
        return {white, white, white, alpha};
    }

    // The platform's named colours.
    [[nodiscard]] static constexpr UIColor clearColor() { return withWhite(0, 0); }
    [[nodiscard]] static constexpr UIColor blackColor() { return withWhite(0, 1); }
    [[nodiscard]] static constexpr UIColor whiteColor() { return withWhite(1, 1); }
    [[nodiscard]] static constexpr UIColor lightGrayColor() { return withWhite(2.0 / 3, 1); }
    [[nodiscard]] static constexpr UIColor blueColor() { return {0, 0, 1, 1}; }
    [[nodiscard]] static constexpr UIColor redColor() { return {1, 0, 0, 1}; }

    friend bool operator==(const UIColor&, const UIColor&) = default;
};

} // namespace kova
