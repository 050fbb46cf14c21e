// Texts that end in a number: ids and paths of which a test needs many.
//
// Written with append(): at -O3 g++ 12 takes `"literal" + std::to_string(…)` for copies that overlap.

#pragma once

#include <concepts>
#include <string>
#include <string_view>

namespace kova::tests {

[[nodiscard]] std::string numbered(std::string_view text, std::integral auto number)
{
    return std::string {text}.append(std::to_string(number));
}

} // namespace kova::tests
