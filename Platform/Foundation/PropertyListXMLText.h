// What the elements of an XML property list mean: the text between the tags of a scalar, turned into a value.
//
// It needs no XML parser, so it is shared by whatever implements PropertyListDecoder. Threads: any.

#pragma once

#include "Platform/Foundation/Value.h"

#include <optional>
#include <string>
#include <string_view>

namespace kova {

/// White space as XML has it.
[[nodiscard]] constexpr bool isXMLSpace(char letter)
{
    return letter == ' ' || letter == '\t' || letter == '\n' || letter == '\r';
}

/// The value of a scalar element: string, integer (decimal, or hexadecimal after 0x), real, true, false, date
/// (2024-01-31T12:00:00Z) or data (base64 among white space). None for any other element and for text it cannot have.
/// Whole numbers beyond std::int64_t become double.
[[nodiscard]] std::optional<Value> propertyListScalar(std::string_view element, std::string text);

} // namespace kova
