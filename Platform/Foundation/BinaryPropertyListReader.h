// Finds the objects of a binary property list, however damaged it is: an object that is found lies whole in the list.
//
// The caller must bound the depth of the tree and what unfolding it costs. Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kova {

class BinaryPropertyListReader {
public:
    enum class Kind : std::uint8_t { boolean, integer, real, date, data, ascii, utf16, array, dictionary };

    /// An object whose payload is known to lie inside the list.
    struct Object {
        Kind kind = Kind::boolean;
        std::size_t payload = 0;
        /// Size in bytes of a number, number of elements of a container or text, value of a boolean.
        std::size_t count = 0;

        [[nodiscard]] bool isText() const { return kind == Kind::ascii || kind == Kind::utf16; }
    };

    /// The bytes must outlive the reader.
    explicit BinaryPropertyListReader(std::string_view bytes)
        : m_bytes(bytes)
    {
    }

    /// Call first; nothing else may be called when the beginning or the end is not that of a binary list.
    [[nodiscard]] bool readTrailer();

    /// The index of the top object.
    [[nodiscard]] std::uint64_t root() const { return m_root; }

    /// The object of an index; none when anything about it is wrong.
    [[nodiscard]] std::optional<Object> object(std::uint64_t index) const;

    /// The index of an element of an array. In a dictionary the keys come first, then the values in their order.
    [[nodiscard]] std::uint64_t indexAt(const Object& container, std::size_t position) const
    {
        return number(container.payload + position * m_indexSize, m_indexSize);
    }

    /// The bytes of data, or of a text that is stored as ASCII.
    [[nodiscard]] std::string_view bytesOf(const Object& read) const
    {
        return m_bytes.substr(read.payload, read.count);
    }

    /// A text as UTF-8; none when it is not valid.
    [[nodiscard]] std::optional<std::string> text(const Object& read) const;

    /// A big-endian number of 1 to 8 bytes at a position before the trailer.
    [[nodiscard]] std::uint64_t number(std::size_t position, std::size_t size) const;

    /// What decoding an object costs, in the measure of BinaryPropertyList, beside what stands in it.
    [[nodiscard]] static std::uint64_t cost(const Object& read);
    [[nodiscard]] static std::uint64_t costOfKey(const Object& key);

private:
    [[nodiscard]] std::optional<Object> sized(
        Kind kind, std::size_t payload, std::uint64_t count, std::size_t unit) const;
    [[nodiscard]] std::optional<Object> counted(
        Kind kind, std::size_t position, std::size_t low, std::size_t unit) const;
    [[nodiscard]] std::optional<std::string> utf16(const Object& read) const;
    static constexpr std::size_t unitsAtOnce = 4;
    /// Returns true if so many more units of a text are ASCII.
    [[nodiscard]] bool areASCII(const Object& read, std::size_t position) const;
    [[nodiscard]] char16_t unitAt(const Object& read, std::size_t position) const;
    [[nodiscard]] std::uint8_t byteAt(std::size_t position) const
    {
        return static_cast<std::uint8_t>(m_bytes[position]);
    }

    std::string_view m_bytes;
    std::size_t m_offsetSize = 0;
    std::size_t m_indexSize = 0;
    std::uint64_t m_objectCount = 0;
    std::uint64_t m_root = 0;
    /// Where the offset table begins and the objects end.
    std::size_t m_table = 0;
};

} // namespace kova
