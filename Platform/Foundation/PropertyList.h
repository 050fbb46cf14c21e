// Property lists: the platform's encoding of stored values and of the host's configuration.
//
// Binary lists (bplist00) are written and read by our own bounded codec, because they may come damaged from a disk; XML
// lists are read by a library that the build chooses (see Platform/Libraries). Threads: any.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <expected>
#include <string_view>
#include <system_error>

namespace kova {

enum class PropertyListError {
    /// Neither a well-formed binary list nor a well-formed XML list.
    malformed = 1,
    /// Nested too deep, or decoding would cost more than 64 MiB beyond what the size of the list accounts for; hostile
    /// input is refused before it costs memory.
    tooComplex,
    /// A value that property lists have no form for: null, or text that is not valid UTF-8.
    notRepresentable,
};

KOVA_EXPORT [[nodiscard]] std::error_code make_error_code(PropertyListError error);

class KOVA_EXPORT PropertyListEncoder {
public:
    /// A binary property list (bplist00) with the value as its top object.
    [[nodiscard]] static std::expected<Data, std::error_code> encode(const Value& value);
};

class KOVA_EXPORT PropertyListDecoder {
public:
    /// Reads a binary or an XML property list; malformed bytes of any kind are an error.
    [[nodiscard]] static std::expected<Value, std::error_code> decode(std::string_view bytes);

    /// Arrays and dictionaries may stand inside one another this deep.
    static constexpr int maximumDepth = 512;
};

} // namespace kova

template <> struct std::is_error_code_enum<kova::PropertyListError> : std::true_type { };
