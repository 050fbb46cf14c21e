// How lines of text are placed.

#pragma once

namespace kova {

enum class NSTextAlignment { left = 0, center = 1, right = 2 };

} // namespace kova
