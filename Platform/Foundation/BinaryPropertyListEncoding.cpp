#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/BinaryPropertyListWriter.h"
#include "Platform/Foundation/Unicode.h"

#include <limits>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace kova {

namespace {

using Index = BinaryPropertyListWriter::Index;

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
        BinaryPropertyListWriter writer {m_objectCount, m_payload};
        m_keyIndexes.assign(m_keys.size(), unwritten);
        auto bytes = writer.finish(write(writer, root));
        if (m_cost > BinaryPropertyList::maximumCost(bytes.size()))
            return std::unexpected {make_error_code(PropertyListError::tooComplex)};
        return Data {std::move(bytes)};
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

    Index write(BinaryPropertyListWriter& writer, const Value& value)
    {
        if (const auto* array = value.as<Value::Array>())
            return writeArray(writer, *array);
        if (const auto* dictionary = value.as<Value::Dictionary>())
            return writeDictionary(writer, *dictionary);
        if (const auto* text = value.as<std::string>())
            return writer.writeText(*text);
        if (const auto* flag = value.as<bool>())
            return writer.writeBoolean(*flag);
        if (const auto* whole = value.as<std::int64_t>())
            return writer.writeInteger(*whole);
        if (const auto* number = value.as<double>())
            return writer.writeReal(*number);
        if (const auto* date = value.as<Date>())
            return writer.writeDate(date->secondsSince1970);
        return writer.writeData(value.as<Data>()->text());
    }

    Index writeArray(BinaryPropertyListWriter& writer, const Value::Array& array)
    {
        const auto first = m_pending.size();
        for (const auto& element : array)
            m_pending.push_back(write(writer, element));
        const auto index = writer.writeArray(std::span {m_pending}.subspan(first));
        m_pending.resize(first);
        return index;
    }

    Index writeDictionary(BinaryPropertyListWriter& writer, const Value::Dictionary& dictionary)
    {
        const auto first = m_pending.size();
        for (const auto& entry : dictionary) {
            auto& index = m_keyIndexes[m_keySequence[m_nextKey++]];
            if (index == unwritten)
                index = writer.writeText(entry.first);
            m_pending.push_back(index);
        }
        for (const auto& entry : dictionary)
            m_pending.push_back(write(writer, entry.second));
        const auto index = writer.writeDictionary(std::span {m_pending}.subspan(first));
        m_pending.resize(first);
        return index;
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
    /// The objects of the containers that are being written.
    std::vector<Index> m_pending;
};

} // namespace

std::expected<Data, std::error_code> BinaryPropertyList::encode(const Value& value)
{
    return Encoder {}.encode(value);
}

} // namespace kova
