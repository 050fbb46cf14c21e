#include "Platform/Foundation/BinaryPropertyListWriter.h"

#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/Unicode.h"

#include <bit>
#include <limits>
#include <numeric>

namespace kova {

namespace {

/// 1, 2, 4 or 8: the bytes that hold every number up to `greatest`.
int byteCount(std::uint64_t greatest)
{
    if (greatest <= std::numeric_limits<std::uint8_t>::max())
        return 1;
    if (greatest <= std::numeric_limits<std::uint16_t>::max())
        return 2;
    return greatest <= std::numeric_limits<std::uint32_t>::max() ? 4 : 8;
}

} // namespace

BinaryPropertyListWriter::BinaryPropertyListWriter(std::size_t objectCount, std::size_t payload)
    : m_indexSize(byteCount(objectCount - 1))
    , m_bytes(BinaryPropertyList::header)
{
    constexpr std::size_t bytesPerObject = 6;
    m_bytes.reserve(m_bytes.size() + payload + objectCount * bytesPerObject);
    m_offsets.reserve(objectCount);
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeBoolean(bool value)
{
    const auto index = beginObject();
    appendByte(value ? 0x09 : 0x08);
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeInteger(std::int64_t value)
{
    const auto index = beginObject();
    appendInteger(static_cast<std::uint64_t>(value));
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeReal(double value)
{
    const auto index = beginObject();
    appendByte(0x23);
    appendNumber(std::bit_cast<std::uint64_t>(value), 8);
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeDate(double secondsSince1970)
{
    const auto index = beginObject();
    appendByte(0x33);
    appendNumber(std::bit_cast<std::uint64_t>(secondsSince1970 - BinaryPropertyList::referenceDate), 8);
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeData(std::string_view bytes)
{
    const auto index = beginObject();
    appendMarker(0x40, bytes.size());
    m_bytes += bytes;
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeText(std::string_view text)
{
    const auto index = beginObject();
    if (isASCII(text)) {
        appendMarker(0x50, text.size());
        m_bytes += text;
        return index;
    }
    const auto unitsOf = [](std::size_t sum, char byte) {
        const auto bits = static_cast<unsigned char>(byte);
        return sum + (bits >= 0xF0 ? 2 : (bits & 0xC0U) != 0x80 ? 1 : 0);
    };
    const auto count = std::accumulate(text.begin(), text.end(), std::size_t {0}, unitsOf);
    appendMarker(0x60, count);
    auto at = m_bytes.size();
    m_bytes.resize(at + 2 * count);
    const auto write = [&](char32_t unit) {
        m_bytes[at++] = static_cast<char>(unit >> 8U);
        m_bytes[at++] = static_cast<char>(unit & 0xFFU);
    };
    while (!text.empty()) {
        const auto decoded = decodeCodePoint(text);
        text.remove_prefix(decoded.length);
        if (decoded.value < 0x10000) {
            write(decoded.value);
        } else {
            write(0xD7C0 + (decoded.value >> 10U));
            write(0xDC00 + (decoded.value & 0x3FFU));
        }
    }
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeArray(std::span<const Index> elements)
{
    const auto index = beginObject();
    appendMarker(0xA0, elements.size());
    appendIndexes(elements);
    return index;
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::writeDictionary(std::span<const Index> keysAndValues)
{
    const auto index = beginObject();
    appendMarker(0xD0, keysAndValues.size() / 2);
    appendIndexes(keysAndValues);
    return index;
}

std::string BinaryPropertyListWriter::finish(Index root)
{
    const std::uint64_t table = m_bytes.size();
    const auto offsetSize = byteCount(table);
    for (const auto offset : m_offsets)
        appendNumber(offset, offsetSize);
    m_bytes.append(6, '\0');
    appendByte(static_cast<std::uint8_t>(offsetSize));
    appendByte(static_cast<std::uint8_t>(m_indexSize));
    appendNumber(m_offsets.size(), 8);
    appendNumber(root, 8);
    appendNumber(table, 8);
    return std::move(m_bytes);
}

BinaryPropertyListWriter::Index BinaryPropertyListWriter::beginObject()
{
    m_offsets.push_back(m_bytes.size());
    return static_cast<Index>(m_offsets.size() - 1);
}

void BinaryPropertyListWriter::appendIndexes(std::span<const Index> indexes)
{
    for (const auto index : indexes)
        appendNumber(index, m_indexSize);
}

/// The first byte of an object that has a length; a length that does not fit follows as an integer.
void BinaryPropertyListWriter::appendMarker(std::uint8_t kind, std::size_t count)
{
    constexpr std::uint8_t lengthFollows = 0x0F;
    if (count < lengthFollows) {
        appendByte(static_cast<std::uint8_t>(kind | count));
    } else {
        appendByte(kind | lengthFollows);
        appendInteger(count);
    }
}

/// Numbers of eight bytes are signed in this format, shorter ones are not.
void BinaryPropertyListWriter::appendInteger(std::uint64_t value)
{
    const auto size = byteCount(value);
    appendByte(static_cast<std::uint8_t>(0x10 | std::countr_zero(static_cast<unsigned>(size))));
    appendNumber(value, size);
}

/// Big-endian.
void BinaryPropertyListWriter::appendNumber(std::uint64_t value, int size)
{
    value <<= 8U * (sizeof value - static_cast<unsigned>(size));
    if constexpr (std::endian::native == std::endian::little)
        value = std::byteswap(value);
    m_bytes.append(reinterpret_cast<const char*>(&value), static_cast<std::size_t>(size));
}

} // namespace kova
