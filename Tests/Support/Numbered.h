// Texts that end in a number: ids and paths of which a test needs many.
//
// Written with append(): after `"literal" + std::to_string(…)` g++ 12 warns at -O3 of copies that overlap, and none does.

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
