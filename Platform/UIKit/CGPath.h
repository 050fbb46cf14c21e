// The outline of a shape layer: here always the oval inscribed in a rectangle.

#pragma once

#include "Platform/UIKit/CGGeometry.h"

namespace kova {

struct CGPath {
    CGRect ovalIn {};

    friend bool operator==(const CGPath&, const CGPath&) = default;
};

} // namespace kova
