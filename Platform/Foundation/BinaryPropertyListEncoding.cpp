#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/Unicode.h"

#include <bit>
#include <limits>
#include <string>
#include <unordered_map>
#include <vector>

namespace kova {

namespace {

using Index = std::uint32_t;

/// Seconds from 1970-01-01 to 2001-01-01, where the format's dates begin.
constexpr double referenceDate = 978'307'200;

/// 1, 2, 4 or 8: the bytes that hold every number up to `greatest`.
int byteCount(std::uint64_t greatest)
{
    if (greatest <= std::numeric_limits<std::uint8_t>::max())
        return 1;
    if (greatest <= std::numeric_limits<std::uint16_t>::max())
        return 2;
    return greatest <= std::numeric_limits<std::uint32_t>::max() ? 4 : 8;
}

bool isASCII(std::string_view text)
{
    unsigned char bits = 0;
    for (const auto letter : text)
        bits |= static_cast<unsigned char>(letter);
    return bits < 0x80;
}

/// At least what the decoder takes for it: UTF-16 has no more units than UTF-8 has bytes.
std::uint64_t costOfText(std::string_view text)
{
    return (isASCII(text) ? 1 : 3) * text.size();
}

/// Writes in two walks over the tree: the first counts the objects, because their number decides how wide an index is,
/// and the second writes them, children before their container, so that the container knows the indexes of its
/// children.
class Encoder {
public:
    std::expected<Data, std::error_code> encode(const Value& root)
    {
        if (const auto error = count(root, 0))
            return std::unexpected {error};
        m_indexSize = byteCount(m_objectCount - 1);
        m_bytes.reserve(BinaryPropertyList::header.size() + m_payload + m_objectCount * 6);
        m_offsets.reserve(m_objectCount);
        m_keyIndexes.assign(m_keys.size(), unwritten);
        m_bytes = BinaryPropertyList::header;
        const auto rootIndex = write(root);
        writeTableAndTrailer(rootIndex);
        if (m_cost > BinaryPropertyList::maximumCost(m_bytes.size()))
            return std::unexpected {make_error_code(PropertyListError::tooComplex)};
        return Data {std::move(m_bytes)};
    }

private:
    static constexpr Index unwritten = std::numeric_limits<Index>::max();

    std::error_code count(const Value& value, int depth)
    {
        ++m_objectCount;
        m_cost += BinaryPropertyList::costOfValue;
        if (const auto* text = value.as<std::string>())
            return countText(*text);
        if (const auto* data = value.as<Data>()) {
            m_cost += data->size();
            m_payload += data->size();
            return {};
        }
        const auto* array = value.as<Value::Array>();
        const auto* dictionary = value.as<Value::Dictionary>();
        if (!array && !dictionary)
            return value.isNull() ? PropertyListError::notRepresentable : std::error_code {};
        // Objects are counted in 32 bits; a tree of shared arrays may have more of them than fit in memory.
        if (depth == PropertyListDecoder::maximumDepth || m_objectCount >= unwritten / 2)
            return PropertyListError::tooComplex;
        m_cost += BinaryPropertyList::costOfContainer;
        if (array) {
            for (const auto& element : *array) {
                if (const auto error = count(element, depth + 1))
                    return error;
            }
            return {};
        }
        for (const auto& entry : *dictionary) {
            if (const auto error = countKey(entry.first))
                return error;
        }
        for (const auto& entry : *dictionary) {
            if (const auto error = count(entry.second, depth + 1))
                return error;
        }
        return {};
    }

    std::error_code countKey(std::string_view key)
    {
        const auto [known, isNew] = m_keys.try_emplace(key, static_cast<Index>(m_keys.size()));
        m_keySequence.push_back(known->second);
        if (isNew) {
            ++m_objectCount;
            m_keyCosts.push_back(BinaryPropertyList::costOfKey + costOfText(key));
        }
        m_cost += m_keyCosts[known->second];
        return isNew ? checkText(key) : std::error_code {};
    }

    std::error_code countText(std::string_view text)
    {
        m_cost += costOfText(text);
        return checkText(text);
    }

    /// A text that will be written.
    std::error_code checkText(std::string_view text)
    {
        m_payload += text.size();
        return isValidUTF8(text) ? std::error_code {} : PropertyListError::notRepresentable;
    }

    Index write(const Value& value)
    {
        if (const auto* array = value.as<Value::Array>())
            return writeArray(*array);
        if (const auto* dictionary = value.as<Value::Dictionary>())
            return writeDictionary(*dictionary);
        if (const auto* text = value.as<std::string>())
            return writeText(*text);
        const auto index = beginObject();
        if (const auto* flag = value.as<bool>()) {
            appendByte(*flag ? 0x09 : 0x08);
        } else if (const auto* whole = value.as<std::int64_t>()) {
            appendInteger(static_cast<std::uint64_t>(*whole));
        } else if (const auto* number = value.as<double>()) {
            appendByte(0x23);
            appendNumber(std::bit_cast<std::uint64_t>(*number), 8);
        } else if (const auto* date = value.as<Date>()) {
            appendByte(0x33);
            appendNumber(std::bit_cast<std::uint64_t>(date->secondsSince1970 - referenceDate), 8);
        } else if (const auto* data = value.as<Data>()) {
            appendMarker(0x40, data->size());
            m_bytes += data->text();
        }
        return index;
    }

    Index writeText(std::string_view text)
    {
        const auto index = beginObject();
        if (isASCII(text)) {
            appendMarker(0x50, text.size());
            m_bytes += text;
            return index;
        }
        std::u16string units;
        units.reserve(text.size());
        while (!text.empty()) {
            const auto decoded = decodeCodePoint(text);
            text.remove_prefix(decoded.length);
            if (decoded.value < 0x10000) {
                units += static_cast<char16_t>(decoded.value);
            } else {
                units += static_cast<char16_t>(0xD7C0 + (decoded.value >> 10U));
                units += static_cast<char16_t>(0xDC00 + (decoded.value & 0x3FFU));
            }
        }
        appendMarker(0x60, units.size());
        for (const auto unit : units)
            appendNumber(unit, 2);
        return index;
    }

    Index writeArray(const Value::Array& array)
    {
        const auto first = m_pending.size();
        for (const auto& element : array)
            m_pending.push_back(write(element));
        return writeContainer(0xA0, array.size(), first);
    }

    Index writeDictionary(const Value::Dictionary& dictionary)
    {
        const auto first = m_pending.size();
        for (const auto& entry : dictionary) {
            auto& index = m_keyIndexes[m_keySequence[m_nextKey++]];
            if (index == unwritten)
                index = writeText(entry.first);
            m_pending.push_back(index);
        }
        for (const auto& entry : dictionary)
            m_pending.push_back(write(entry.second));
        return writeContainer(0xD0, dictionary.size(), first);
    }

    /// Writes an array or dictionary of the pending indexes from `first` on.
    Index writeContainer(std::uint8_t kind, std::size_t count, std::size_t first)
    {
        const auto index = beginObject();
        appendMarker(kind, count);
        for (auto position = first; position < m_pending.size(); ++position)
            appendNumber(m_pending[position], m_indexSize);
        m_pending.resize(first);
        return index;
    }

    void writeTableAndTrailer(Index root)
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
    }

    Index beginObject()
    {
        m_offsets.push_back(m_bytes.size());
        return static_cast<Index>(m_offsets.size() - 1);
    }

    /// The first byte of an object that has a length; a length that does not fit follows as an integer.
    void appendMarker(std::uint8_t kind, std::size_t count)
    {
        if (count < 15) {
            appendByte(static_cast<std::uint8_t>(kind | count));
        } else {
            appendByte(kind | 0x0F);
            appendInteger(count);
        }
    }

    /// Numbers of eight bytes are signed in this format, shorter ones are not.
    void appendInteger(std::uint64_t value)
    {
        const auto size = byteCount(value);
        appendByte(static_cast<std::uint8_t>(0x10 | std::countr_zero(static_cast<unsigned>(size))));
        appendNumber(value, size);
    }

    void appendByte(std::uint8_t byte) { m_bytes.push_back(static_cast<char>(byte)); }

    void appendNumber(std::uint64_t value, int size)
    {
        char digits[8];
        for (int position = size - 1; position >= 0; --position) {
            digits[position] = static_cast<char>(value);
            value >>= 8U;
        }
        m_bytes.append(digits, static_cast<std::size_t>(size));
    }

    // Of the first walk: the keys are numbered as they are met, and the sequence says which key each entry has in the
    // order of the walk, so that the second walk looks none up.
    std::size_t m_objectCount = 0;
    std::uint64_t m_cost = 0;
    std::size_t m_payload = 0;
    std::unordered_map<std::string_view, Index> m_keys;
    std::vector<std::uint64_t> m_keyCosts;
    std::vector<Index> m_keySequence;

    // Of the second.
    std::size_t m_nextKey = 0;
    std::vector<Index> m_keyIndexes;
    std::vector<Index> m_pending;
    std::vector<std::uint64_t> m_offsets;
    int m_indexSize = 1;
    std::string m_bytes;
};

} // namespace

std::expected<Data, std::error_code> BinaryPropertyList::encode(const Value& value)
{
    return Encoder {}.encode(value);
}

} // namespace kova
