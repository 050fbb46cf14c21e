// The picture that a notification shows beside its text: a square of one colour, which the name decides.

#pragma once

#include <string>
#include <string_view>

namespace kova::collector {

/// A complete PNG file of 64 by 64 pixels; one name always gives the same picture.
[[nodiscard]] std::string thumbnail(std::string_view name);

} // namespace kova::collector
