// JSON, read into and written from Value.
//
// The parser and the writer belong to a library that the build chooses (see Platform/Libraries). Threads: any.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <expected>
#include <string_view>
#include <system_error>

namespace kova {

enum class JSONError {
    /// Not JSON: syntax, a lone surrogate, or a number out of range.
    malformed = 1,
    notUTF8,
    /// More than 512 arrays and objects inside one another.
    nestedTooDeep,
    /// An infinite or not-a-number value.
    notFinite,
    /// A value that JSON has no form for: bytes or a date.
    notRepresentable,
};

KOVA_EXPORT [[nodiscard]] std::error_code make_error_code(JSONError error);

class KOVA_EXPORT JSONSerialization {
public:
    /// Arrays and objects may stand inside one another this deep, in both directions.
    static constexpr int maximumDepth = 512;

    /// Reads one JSON document of UTF-8 text (RFC 8259; a byte order mark is skipped); a scalar at top level is
    /// accepted. Whole numbers that fit become std::int64_t, others double. Of equal keys in an object the last wins.
    [[nodiscard]] static std::expected<Value, std::error_code> jsonObject(std::string_view text);

    /// Compact JSON. A double without fraction is written as a whole number (10.0 as 10).
    [[nodiscard]] static std::expected<Data, std::error_code> data(const Value& value);
};

} // namespace kova

template <> struct std::is_error_code_enum<kova::JSONError> : std::true_type { };
