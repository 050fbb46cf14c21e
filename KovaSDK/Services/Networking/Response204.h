// The empty body of a reply with status 204.

#pragma once

#include "Platform/Foundation/Value.h"

namespace kova {

struct Response204 {
    enum class CodingKeys { };

    /// Reads nothing, so no content of a JSON reply makes it fail.
    [[nodiscard]] static Response204 decode(const Value&) { return {}; }
};

} // namespace kova
