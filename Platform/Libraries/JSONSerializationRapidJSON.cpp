#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/JSONWriter.h"
#include "Platform/Foundation/Unicode.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <limits>
#include <vector>

namespace kova {

namespace {

/// Receives the reader's events and puts the value together. A callback returns false to stop the reader.
///
/// Text is checked here, decoded, and not by the library: its own check sees raw bytes alone, and an escaped lone low
/// surrogate (\ude00) passes it and comes out as bytes that are no UTF-8.
class ValueBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueBuilder> {
public:
    bool Null() { return add(Value {}); }
    bool Bool(bool value) { return add(value); }
    bool Int(int value) { return add(value); }
    bool Uint(unsigned value) { return add(value); }
    bool Int64(std::int64_t value) { return add(value); }
    bool Uint64(std::uint64_t value)
    {
        if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return add(value);
        return add(static_cast<double>(value));
    }
    bool Double(double value) { return add(value); }
    bool String(const char* text, rapidjson::SizeType length, bool)
    {
        return isValidUTF8({text, length}) && add(std::string {text, length});
    }
    bool Key(const char* text, rapidjson::SizeType length, bool)
    {
        if (!isValidUTF8({text, length}))
            return false;
        m_open.back().key.assign(text, length);
        return true;
    }
    bool StartObject() { return open(); }
    bool EndObject(rapidjson::SizeType)
    {
        auto entries = std::move(m_open.back().entries);
        m_open.pop_back();
        return add(std::move(entries));
    }
    bool StartArray()
    {
        if (!open())
            return false;
        m_open.back().isArray = true;
        return true;
    }
    bool EndArray(rapidjson::SizeType)
    {
        auto elements = std::move(m_open.back().elements);
        m_open.pop_back();
        return add(std::move(elements));
    }

    [[nodiscard]] bool isNestedTooDeep() const { return m_isNestedTooDeep; }
    [[nodiscard]] Value takeRoot() { return std::move(m_root); }

private:
    /// An array or object whose end has not come yet.
    struct Container {
        bool isArray = false;
        Value::Array elements;
        Value::Dictionary entries;
        std::string key;
    };

    bool open()
    {
        m_isNestedTooDeep = m_open.size() == JSONSerialization::maximumDepth;
        if (m_isNestedTooDeep)
            return false;
        m_open.emplace_back();
        return true;
    }

    bool add(Value value)
    {
        if (m_open.empty())
            m_root = std::move(value);
        else if (auto& container = m_open.back(); container.isArray)
            container.elements.append(std::move(value));
        else
            container.entries.insert_or_assign(std::move(container.key), std::move(value));
        return true;
    }

    std::vector<Container> m_open;
    Value m_root;
    bool m_isNestedTooDeep = false;
};

} // namespace

std::expected<Value, std::error_code> JSONSerialization::jsonObject(std::string_view text)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    // The library counts characters in 32 bits.
    if (text.size() > std::numeric_limits<rapidjson::SizeType>::max())
        return std::unexpected {make_error_code(JSONError::malformed)};

    // Iterative, because the recursive way overflows the stack; full precision, because the fast way gets the last
    // digit of many doubles wrong.
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag;
    rapidjson::MemoryStream stream {text.data(), text.size()};
    rapidjson::Reader reader;
    ValueBuilder builder;
    const auto result = reader.Parse<flags>(stream, builder);
    if (builder.isNestedTooDeep())
        return std::unexpected {make_error_code(JSONError::nestedTooDeep)};
    // To the library a NUL byte is the end of the text, so what follows one would go unseen.
    if (result.IsError() || stream.Tell() != text.size())
        return std::unexpected {make_error_code(isValidUTF8(text) ? JSONError::malformed : JSONError::notUTF8)};
    return builder.takeRoot();
}

std::expected<Data, std::error_code> JSONSerialization::data(const Value& value)
{
    JSONWriter writer;
    writer.value(value);
    return writer.take();
}

} // namespace kova
