#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/Unicode.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

namespace kova {

namespace {

constexpr std::size_t trailerSize = 32;
/// Seconds from 1970-01-01 to 2001-01-01, where the format's dates begin.
constexpr double referenceDate = 978'307'200;

enum class Kind : std::uint8_t { boolean, integer, real, date, data, ascii, utf16, array, dictionary };

/// An object whose payload is known to lie inside the file.
struct Object {
    Kind kind = Kind::boolean;
    std::size_t payload = 0;
    /// Of numbers the size in bytes, of containers and text the number of elements, of a boolean its value.
    std::size_t count = 0;
};

/// Reads in two walks from the top object: the first finds every index, offset and length good and the whole bounded,
/// the second builds the values.
class Decoder {
public:
    explicit Decoder(std::string_view bytes)
        : m_bytes(bytes)
        , m_remainingCost(BinaryPropertyList::maximumCost(bytes.size()))
    {
    }

    std::expected<Value, std::error_code> decode()
    {
        if (!readTrailer())
            return std::unexpected {make_error_code(PropertyListError::malformed)};
        if (const auto error = measure(m_root, 0))
            return std::unexpected {make_error_code(*error)};
        auto value = build(*object(m_root));
        if (!m_isTextValid)
            return std::unexpected {make_error_code(PropertyListError::malformed)};
        return value;
    }

private:
    /// The trailer ends in: size of an offset, size of an index (a byte each), number of objects, index of the top
    /// object, position of the offset table (eight bytes each).
    bool readTrailer()
    {
        const auto size = m_bytes.size();
        if (!m_bytes.starts_with(BinaryPropertyList::header) || size < BinaryPropertyList::header.size() + trailerSize)
            return false;
        m_offsetSize = byteAt(size - 26);
        m_indexSize = byteAt(size - 25);
        m_objectCount = number(size - 24, 8);
        m_root = number(size - 16, 8);
        const auto table = number(size - 8, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_indexSize < 1 || m_indexSize > 8)
            return false;
        if (table < BinaryPropertyList::header.size() || table > size - trailerSize)
            return false;
        m_table = static_cast<std::size_t>(table);
        return m_objectCount <= (size - trailerSize - m_table) / m_offsetSize;
    }

    /// The object of an index; none when anything about it is wrong.
    [[nodiscard]] std::optional<Object> object(std::uint64_t index) const
    {
        if (index >= m_objectCount)
            return std::nullopt;
        const auto offset = number(m_table + static_cast<std::size_t>(index) * m_offsetSize, m_offsetSize);
        if (offset < BinaryPropertyList::header.size() || offset >= m_table)
            return std::nullopt;
        const auto position = static_cast<std::size_t>(offset);
        const auto low = static_cast<std::size_t>(byteAt(position) & 0x0F);
        switch (byteAt(position) >> 4) {
        case 0x0:
            if (low != 8 && low != 9)
                return std::nullopt;
            return Object {Kind::boolean, position, low - 8};
        case 0x1:
            return low <= 4 ? sized(Kind::integer, position + 1, std::uint64_t {1} << low, 1) : std::nullopt;
        case 0x2:
            return low == 2 || low == 3 ? sized(Kind::real, position + 1, std::uint64_t {1} << low, 1) : std::nullopt;
        case 0x3:
            return low == 3 ? sized(Kind::date, position + 1, 8, 1) : std::nullopt;
        case 0x4:
            return counted(Kind::data, position, low, 1);
        case 0x5:
            return counted(Kind::ascii, position, low, 1);
        case 0x6:
            return counted(Kind::utf16, position, low, 2);
        case 0xA:
            return counted(Kind::array, position, low, m_indexSize);
        case 0xD:
            return counted(Kind::dictionary, position, low, 2 * m_indexSize);
        default:
            return std::nullopt;
        }
    }

    /// An object of `count` elements of `unit` bytes each, when they all lie before the offset table.
    [[nodiscard]] std::optional<Object> sized(
        Kind kind, std::size_t payload, std::uint64_t count, std::size_t unit) const
    {
        if (payload > m_table || count > (m_table - payload) / unit)
            return std::nullopt;
        return Object {kind, payload, static_cast<std::size_t>(count)};
    }

    /// An object whose length is the low half of its first byte, or an integer behind that byte.
    [[nodiscard]] std::optional<Object> counted(
        Kind kind, std::size_t position, std::size_t low, std::size_t unit) const
    {
        if (low != 0x0F)
            return sized(kind, position + 1, low, unit);
        const auto marker = position + 1;
        if (marker >= m_table || byteAt(marker) < 0x10 || byteAt(marker) > 0x13)
            return std::nullopt;
        const auto size = std::size_t {1} << (byteAt(marker) & 0x0F);
        if (m_table - marker <= size)
            return std::nullopt;
        return sized(kind, marker + 1 + size, number(marker + 1, size), unit);
    }

    /// Cycles end at the greatest depth, repeated sharing when the cost is used up.
    std::optional<PropertyListError> measure(std::uint64_t index, int depth)
    {
        const auto read = object(index);
        if (!read)
            return PropertyListError::malformed;
        if (read->kind == Kind::array || read->kind == Kind::dictionary)
            return measureContainer(*read, depth);
        const auto cost = BinaryPropertyList::costOfValue + costOfBytes(*read);
        return charge(cost) ? std::nullopt : std::optional {PropertyListError::tooComplex};
    }

    std::optional<PropertyListError> measureContainer(const Object& container, int depth)
    {
        constexpr auto cost = BinaryPropertyList::costOfValue + BinaryPropertyList::costOfContainer;
        if (depth == PropertyListDecoder::maximumDepth || !charge(cost))
            return PropertyListError::tooComplex;
        const auto keyCount = container.kind == Kind::dictionary ? container.count : 0;
        for (std::size_t position = 0; position < keyCount; ++position) {
            const auto key = object(indexAt(container, position));
            if (!key || (key->kind != Kind::ascii && key->kind != Kind::utf16))
                return PropertyListError::malformed;
            if (!charge(BinaryPropertyList::costOfKey + costOfBytes(*key)))
                return PropertyListError::tooComplex;
        }
        for (std::size_t position = 0; position < container.count; ++position) {
            if (const auto error = measure(indexAt(container, keyCount + position), depth + 1))
                return error;
        }
        return std::nullopt;
    }

    /// The length of text and data; other objects have none.
    static std::uint64_t costOfBytes(const Object& read)
    {
        if (read.kind == Kind::ascii || read.kind == Kind::data)
            return read.count;
        return read.kind == Kind::utf16 ? 3 * std::uint64_t {read.count} : 0;
    }

    /// Takes a cost from what is left; false when that is too little.
    bool charge(std::uint64_t cost)
    {
        if (cost > m_remainingCost)
            return false;
        m_remainingCost -= cost;
        return true;
    }

    Value build(const Object& read)
    {
        switch (read.kind) {
        case Kind::boolean:
            return read.count == 1;
        case Kind::integer:
            return integer(read);
        case Kind::real:
            if (read.count == 4)
                return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(number(read.payload, 4))));
            return std::bit_cast<double>(number(read.payload, 8));
        case Kind::date:
            return Date {std::bit_cast<double>(number(read.payload, 8)) + referenceDate};
        case Kind::data:
            return Data {std::string {m_bytes.substr(read.payload, read.count)}};
        case Kind::ascii:
        case Kind::utf16:
            return text(read);
        case Kind::array:
            return array(read);
        case Kind::dictionary:
            return dictionary(read);
        }
        return {};
    }

    Value::Array array(const Object& read)
    {
        Value::Array elements;
        for (std::size_t position = 0; position < read.count; ++position)
            elements.append(build(*object(indexAt(read, position))));
        return elements;
    }

    Value::Dictionary dictionary(const Object& read)
    {
        Value::Dictionary entries;
        for (std::size_t position = 0; position < read.count; ++position) {
            auto key = text(*object(indexAt(read, position)));
            auto entry = build(*object(indexAt(read, read.count + position)));
            // Our own lists have their keys in order, so that most belong at the end.
            entries.insert_or_assign(entries.end(), std::move(key), std::move(entry));
        }
        return entries;
    }

    [[nodiscard]] Value integer(const Object& read) const
    {
        if (read.count <= 8)
            return static_cast<std::int64_t>(number(read.payload, read.count));
        const auto high = static_cast<std::int64_t>(number(read.payload, 8));
        const auto low = number(read.payload + 8, 8);
        // It fits when the upper half only repeats the sign of the lower one.
        if (high == (static_cast<std::int64_t>(low) < 0 ? -1 : 0))
            return static_cast<std::int64_t>(low);
        return std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low);
    }

    std::string text(const Object& read)
    {
        if (read.kind == Kind::ascii) {
            std::string letters {m_bytes.substr(read.payload, read.count)};
            unsigned char bits = 0;
            for (const auto letter : letters)
                bits |= static_cast<unsigned char>(letter);
            m_isTextValid = m_isTextValid && bits < 0x80;
            return letters;
        }
        std::string letters;
        letters.reserve(read.count);
        for (std::size_t position = 0; position < read.count; ++position) {
            const auto unit = unitAt(read, position);
            if (unit < 0xD800 || unit > 0xDFFF) {
                appendUTF8(letters, unit);
                continue;
            }
            const auto next = position + 1 < read.count ? unitAt(read, position + 1) : char32_t {0};
            if (unit > 0xDBFF || next < 0xDC00 || next > 0xDFFF) {
                m_isTextValid = false;
                return {};
            }
            appendUTF8(letters, 0x10000 + ((unit - 0xD800) << 10U) + (next - 0xDC00));
            ++position;
        }
        return letters;
    }

    [[nodiscard]] char32_t unitAt(const Object& read, std::size_t position) const
    {
        return static_cast<char32_t>(number(read.payload + 2 * position, 2));
    }

    [[nodiscard]] std::uint64_t indexAt(const Object& container, std::size_t position) const
    {
        return number(container.payload + position * m_indexSize, m_indexSize);
    }

    /// A big-endian number of 1 to 8 bytes. Eight are read whatever the size: behind each number there is the trailer,
    /// or the rest of it.
    [[nodiscard]] std::uint64_t number(std::size_t position, std::size_t size) const
    {
        std::uint64_t value = 0;
        std::memcpy(&value, m_bytes.data() + position, sizeof value);
        if constexpr (std::endian::native == std::endian::little)
            value = std::byteswap(value);
        return value >> (8 * (sizeof value - size));
    }

    [[nodiscard]] std::uint8_t byteAt(std::size_t position) const
    {
        return static_cast<std::uint8_t>(m_bytes[position]);
    }

    std::string_view m_bytes;
    std::uint64_t m_remainingCost;
    std::size_t m_offsetSize = 0;
    std::size_t m_indexSize = 0;
    std::uint64_t m_objectCount = 0;
    std::uint64_t m_root = 0;
    /// Where the offset table begins and the objects end.
    std::size_t m_table = 0;
    /// Cleared by the second walk when it meets text that is none.
    bool m_isTextValid = true;
};

} // namespace

std::expected<Value, std::error_code> BinaryPropertyList::decode(std::string_view bytes)
{
    return Decoder {bytes}.decode();
}

} // namespace kova
