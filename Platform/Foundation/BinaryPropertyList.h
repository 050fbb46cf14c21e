// The binary property-list format (bplist00), read and written by hand: the libraries at hand crash on damaged bytes.
//
// A list is a header, the objects, a table of their offsets and a trailer of 32 bytes. Arrays and dictionaries hold
// indexes into the table, so objects can be shared, and hostile lists can be cyclic or unfold without end; the reader
// measures a list before it builds anything of it. Threads: any.

#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string_view>

namespace kova {

class BinaryPropertyList {
public:
    /// What every binary list begins with.
    static constexpr std::string_view header = "bplist00";

    /// Seconds from 1970-01-01 to 2001-01-01, where the format's dates begin.
    static constexpr double referenceDate = 978'307'200;

    /// Text is stored as ASCII or UTF-16, whole numbers in 1, 2, 4 or 8 bytes, equal dictionary keys once. What is
    /// encoded can be decoded: the limits below hold here too, and exceeding them is PropertyListError::tooComplex.
    [[nodiscard]] static std::expected<Data, std::error_code> encode(const Value& value);

    /// Of equal keys the last wins. Unsigned 64-bit numbers that do not fit std::int64_t become double; UIDs, sets,
    /// nulls and keys that are not text are malformed.
    [[nodiscard]] static std::expected<Value, std::error_code> decode(std::string_view bytes);

    /// The memory that decoding a list of so many bytes may cost, in bytes: 64 MiB for what objects that are used
    /// several times unfold to, however small the list is, and what a list without any takes at most.
    static constexpr std::uint64_t maximumCost(std::uint64_t size) { return (64U << 20U) + 32 * size; }

    /// Parts of that cost, about as large on every machine. Text and data cost their length besides, text that is
    /// stored as UTF-16 three bytes a unit.
    static constexpr std::uint64_t costOfValue = 48;
    static constexpr std::uint64_t costOfContainer = 192;
    static constexpr std::uint64_t costOfKey = 80;
};

} // namespace kova
