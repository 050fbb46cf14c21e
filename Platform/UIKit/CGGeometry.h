// Points, sizes, rectangles and insets. All numbers are points: the unit of layout, which a screen draws as `scale`
// pixels. The origin is the top left corner.

#pragma once

#include <algorithm>

namespace kova {

struct CGPoint {
    double x = 0;
    double y = 0;

    friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
    double width = 0;
    double height = 0;

    friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct CGRect {
    CGPoint origin {};
    CGSize size {};

    CGRect() = default;
    CGRect(CGPoint at, CGSize extent)
        : origin(at)
        , size(extent)
    {
    }
    CGRect(double x, double y, double width, double height)
        : origin {.x = x, .y = y}
        , size {.width = width, .height = height}
    {
    }

    [[nodiscard]] double minX() const { return origin.x; }
    [[nodiscard]] double minY() const { return origin.y; }
    [[nodiscard]] double maxX() const { return origin.x + size.width; }
    [[nodiscard]] double maxY() const { return origin.y + size.height; }

    friend bool operator==(const CGRect&, const CGRect&) = default;
};

struct UIEdgeInsets {
    double top = 0;
    double left = 0;
    double bottom = 0;
    double right = 0;

    friend bool operator==(const UIEdgeInsets&, const UIEdgeInsets&) = default;
};

} // namespace kova
