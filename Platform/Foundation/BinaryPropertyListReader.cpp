#include "Platform/Foundation/BinaryPropertyListReader.h"

#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/Unicode.h"

#include <array>
#include <bit>
#include <cstring>

namespace kova {

namespace {

constexpr std::size_t trailerSize = 32;

/// The length of text and data; other objects have none.
std::uint64_t costOfBytes(const BinaryPropertyListReader::Object& read)
{
    using Kind = BinaryPropertyListReader::Kind;
    if (read.kind == Kind::ascii || read.kind == Kind::data)
        return read.count;
    return read.kind == Kind::utf16 ? 3 * std::uint64_t {read.count} : 0;
}

} // namespace

/// The trailer ends in: size of an offset, size of an index (a byte each), number of objects, index of the top
/// object, position of the offset table (eight bytes each).
bool BinaryPropertyListReader::readTrailer()
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

std::optional<BinaryPropertyListReader::Object> BinaryPropertyListReader::object(std::uint64_t index) const
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
std::optional<BinaryPropertyListReader::Object> BinaryPropertyListReader::sized(
    Kind kind, std::size_t payload, std::uint64_t count, std::size_t unit) const
{
    if (payload > m_table || count > (m_table - payload) / unit)
        return std::nullopt;
    return Object {kind, payload, static_cast<std::size_t>(count)};
}

/// An object whose length is the low half of its first byte, or an integer behind that byte.
std::optional<BinaryPropertyListReader::Object> BinaryPropertyListReader::counted(
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

std::uint64_t BinaryPropertyListReader::cost(const Object& read)
{
    const bool isContainer = read.kind == Kind::array || read.kind == Kind::dictionary;
    return BinaryPropertyList::costOfValue + (isContainer ? BinaryPropertyList::costOfContainer : costOfBytes(read));
}

std::uint64_t BinaryPropertyListReader::costOfKey(const Object& key)
{
    return BinaryPropertyList::costOfKey + costOfBytes(key);
}

std::optional<std::string> BinaryPropertyListReader::text(const Object& read) const
{
    if (read.kind == Kind::utf16)
        return utf16(read);
    const auto letters = bytesOf(read);
    return isASCII(letters) ? std::optional {std::string {letters}} : std::nullopt;
}

// In two passes, for the size and for the letters: a frame may wait for texts as long as a push can carry.
std::optional<std::string> BinaryPropertyListReader::utf16(const Object& read) const
{
    std::size_t size = 0;
    for (std::size_t position = 0; position < read.count; ++position) {
        const auto unit = unitAt(read, position);
        const bool isSurrogate = (unit & 0xF800U) == 0xD800;
        size += unit < 0x80 ? 1 : unit < 0x800 || isSurrogate ? 2 : 3;
    }
    std::string letters(size, '\0');
    auto* end = letters.data();
    for (std::size_t position = 0; position < read.count; ++position) {
        for (; areASCII(read, position); position += unitsAtOnce) {
            for (std::size_t unit = 0; unit < unitsAtOnce; ++unit)
                *end++ = static_cast<char>(unitAt(read, position + unit));
        }
        if (position == read.count)
            break;
        char32_t value = unitAt(read, position);
        if (value >= 0xD800 && value <= 0xDFFF) {
            const auto next = position + 1 < read.count ? unitAt(read, position + 1) : char16_t {0};
            if (value > 0xDBFF || next < 0xDC00 || next > 0xDFFF)
                return std::nullopt;
            value = 0x10000 + ((value - 0xD800) << 10U) + (next - 0xDC00);
            ++position;
        }
        end = writeUTF8(end, value);
    }
    return letters;
}

bool BinaryPropertyListReader::areASCII(const Object& read, std::size_t position) const
{
    constexpr auto others = std::bit_cast<std::uint64_t>(
        std::array<unsigned char, 2 * unitsAtOnce> {0xFF, 0x80, 0xFF, 0x80, 0xFF, 0x80, 0xFF, 0x80});
    if (read.count - position < unitsAtOnce)
        return false;
    std::uint64_t units = 0;
    std::memcpy(&units, m_bytes.data() + read.payload + 2 * position, sizeof units);
    return (units & others) == 0;
}

char16_t BinaryPropertyListReader::unitAt(const Object& read, std::size_t position) const
{
    const auto* bytes = m_bytes.data() + read.payload + 2 * position;
    return static_cast<char16_t>((static_cast<unsigned char>(bytes[0]) << 8U) | static_cast<unsigned char>(bytes[1]));
}

// Eight bytes are read whatever the size: behind each number there is the trailer, or the rest of it.
std::uint64_t BinaryPropertyListReader::number(std::size_t position, std::size_t size) const
{
    std::uint64_t value = 0;
    std::memcpy(&value, m_bytes.data() + position, sizeof value);
    if constexpr (std::endian::native == std::endian::little)
        value = std::byteswap(value);
    return value >> (8 * (sizeof value - size));
}

} // namespace kova
