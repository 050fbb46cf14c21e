// What of a view a constraint speaks of, and how. The numbers are the platform's.

#pragma once

namespace kova {

enum class NSLayoutAttribute {
    notAnAttribute = 0,
    left = 1,
    right = 2,
    top = 3,
    bottom = 4,
    width = 7,
    height = 8,
    centerX = 9,
    centerY = 10,
};

enum class NSLayoutRelation { lessThanOrEqual = -1, equal = 0, greaterThanOrEqual = 1 };

} // namespace kova
