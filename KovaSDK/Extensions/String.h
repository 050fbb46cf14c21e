// What the SDK adds to texts.

#pragma once

#include "Platform/Foundation/Value.h"

#include <optional>
#include <string_view>

namespace kova {

/// The text parsed as JSON: a dictionary, an array or a scalar. None when it is not JSON, or not valid UTF-8.
[[nodiscard]] std::optional<Value> toJSON(std::string_view text);

} // namespace kova
