// A short mark by which a stored value is recognised later, without keeping it.
//
// A long byte buffer is hashed; of an array, its length and its ends count, which tell one state of a list that grows
// at one end and shrinks at the other from the next. Threads: like a standard container.

#pragma once

#include "Platform/Foundation/Value.h"

#include <cstddef>
#include <optional>

namespace kova {

class ValueFingerprint {
public:
    explicit ValueFingerprint(const std::optional<Value>& value);

    friend bool operator==(const ValueFingerprint&, const ValueFingerprint&) = default;

private:
    std::size_t m_size = 0;
    std::size_t m_hash = 0;
    /// A value that is neither data nor an array is small, and kept whole.
    std::optional<Value> m_value {};
};

} // namespace kova
