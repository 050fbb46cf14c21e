// Puts the objects of a binary property list together, children before their container.
//
// The number of objects must be known before the first is written: it decides how wide an index is. Threads: any, one
// at a time.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kova {

class BinaryPropertyListWriter {
public:
    /// The number of an object in the order of writing.
    using Index = std::uint32_t;

    /// For exactly so many objects; `payload` is about the sum of their bytes.
    BinaryPropertyListWriter(std::size_t objectCount, std::size_t payload);

    Index writeBoolean(bool value);
    Index writeInteger(std::int64_t value);
    Index writeReal(double value);
    Index writeDate(double secondsSince1970);
    Index writeData(std::string_view bytes);
    /// The text must be valid UTF-8. It is stored as ASCII if it is that, else as UTF-16.
    Index writeText(std::string_view text);
    Index writeArray(std::span<const Index> elements);
    /// The keys, and then the values in the order of their keys.
    Index writeDictionary(std::span<const Index> keysAndValues);

    /// The whole list, with this object as its top object. Ends the writing.
    [[nodiscard]] std::string finish(Index root);

private:
    Index beginObject();
    void appendIndexes(std::span<const Index> indexes);
    void appendMarker(std::uint8_t kind, std::size_t count);
    void appendInteger(std::uint64_t value);
    void appendByte(std::uint8_t byte) { m_bytes.push_back(static_cast<char>(byte)); }
    void appendNumber(std::uint64_t value, int size);

    int m_indexSize;
    std::string m_bytes;
    std::vector<std::uint64_t> m_offsets;
};

} // namespace kova
