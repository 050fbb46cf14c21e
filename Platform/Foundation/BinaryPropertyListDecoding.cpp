#include "Platform/Foundation/BinaryPropertyList.h"
#include "Platform/Foundation/BinaryPropertyListReader.h"

#include <bit>
#include <cmath>
#include <optional>
#include <string>

namespace kova {

namespace {

using Kind = BinaryPropertyListReader::Kind;
using Object = BinaryPropertyListReader::Object;

/// Reads in two walks from the top object: the first finds every index, offset and length good and the whole bounded,
/// the second builds the values.
class Decoder {
public:
    explicit Decoder(std::string_view bytes)
        : m_reader(bytes)
        , m_remainingCost(BinaryPropertyList::maximumCost(bytes.size()))
    {
    }

    std::expected<Value, std::error_code> decode()
    {
        if (!m_reader.readTrailer())
            return std::unexpected {make_error_code(PropertyListError::malformed)};
        if (const auto error = measure(m_reader.root(), 0))
            return std::unexpected {make_error_code(*error)};
        auto value = build(*m_reader.object(m_reader.root()));
        if (!m_isTextValid)
            return std::unexpected {make_error_code(PropertyListError::malformed)};
        return value;
    }

private:
    /// Cycles end at the greatest depth, repeated sharing when the cost is used up.
    std::optional<PropertyListError> measure(std::uint64_t index, int depth)
    {
        const auto read = m_reader.object(index);
        if (!read)
            return PropertyListError::malformed;
        if (read->kind == Kind::array || read->kind == Kind::dictionary)
            return measureContainer(*read, depth);
        return charge(BinaryPropertyListReader::cost(*read)) ? std::nullopt
                                                             : std::optional {PropertyListError::tooComplex};
    }

    std::optional<PropertyListError> measureContainer(const Object& container, int depth)
    {
        if (depth == PropertyListDecoder::maximumDepth || !charge(BinaryPropertyListReader::cost(container)))
            return PropertyListError::tooComplex;
        const auto keyCount = container.kind == Kind::dictionary ? container.count : 0;
        for (std::size_t position = 0; position < keyCount; ++position) {
            const auto key = m_reader.object(m_reader.indexAt(container, position));
            if (!key || !key->isText())
                return PropertyListError::malformed;
            if (!charge(BinaryPropertyListReader::costOfKey(*key)))
                return PropertyListError::tooComplex;
        }
        for (std::size_t position = 0; position < container.count; ++position) {
            if (const auto error = measure(m_reader.indexAt(container, keyCount + position), depth + 1))
                return error;
        }
        return std::nullopt;
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
                return static_cast<double>(
                    std::bit_cast<float>(static_cast<std::uint32_t>(m_reader.number(read.payload, 4))));
            return std::bit_cast<double>(m_reader.number(read.payload, 8));
        case Kind::date:
            return Date {std::bit_cast<double>(m_reader.number(read.payload, 8)) + BinaryPropertyList::referenceDate};
        case Kind::data:
            return Data {std::string {m_reader.bytesOf(read)}};
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
            elements.append(build(*m_reader.object(m_reader.indexAt(read, position))));
        return elements;
    }

    Value::Dictionary dictionary(const Object& read)
    {
        Value::Dictionary entries;
        for (std::size_t position = 0; position < read.count; ++position) {
            auto key = text(*m_reader.object(m_reader.indexAt(read, position)));
            auto entry = build(*m_reader.object(m_reader.indexAt(read, read.count + position)));
            // Our own lists have their keys in order, so that most belong at the end.
            entries.insert_or_assign(entries.end(), std::move(key), std::move(entry));
        }
        return entries;
    }

    [[nodiscard]] Value integer(const Object& read) const
    {
        if (read.count <= 8)
            return static_cast<std::int64_t>(m_reader.number(read.payload, read.count));
        const auto high = static_cast<std::int64_t>(m_reader.number(read.payload, 8));
        const auto low = m_reader.number(read.payload + 8, 8);
        // It fits when the upper half only repeats the sign of the lower one.
        if (high == (static_cast<std::int64_t>(low) < 0 ? -1 : 0))
            return static_cast<std::int64_t>(low);
        return std::ldexp(static_cast<double>(high), 64) + static_cast<double>(low);
    }

    std::string text(const Object& read)
    {
        auto letters = m_reader.text(read);
        m_isTextValid = m_isTextValid && letters;
        return letters ? *std::move(letters) : std::string {};
    }

    BinaryPropertyListReader m_reader;
    std::uint64_t m_remainingCost;
    /// Cleared by the second walk when it meets text that is none.
    bool m_isTextValid = true;
};

} // namespace

std::expected<Value, std::error_code> BinaryPropertyList::decode(std::string_view bytes)
{
    return Decoder {bytes}.decode();
}

} // namespace kova
