#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/JSONWriter.h"
#include "Platform/Foundation/Unicode.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <vector>

namespace kova {

namespace {

/// Whether a number is below one. `text` is a JSON number other than zero.
bool isBelowOne(std::string_view text)
{
    const auto mark = text.find_first_of("eE");
    const auto digits = text.substr(0, mark);
    int exponent = 0;
    if (mark != std::string_view::npos) {
        auto tail = text.substr(mark + 1);
        if (tail.starts_with('+'))
            tail.remove_prefix(1);
        if (std::from_chars(tail.data(), tail.data() + tail.size(), exponent).ec != std::errc {})
            return tail.starts_with('-');
    }
    const auto point = static_cast<std::ptrdiff_t>(std::min(digits.find('.'), digits.size()));
    const auto leading = static_cast<std::ptrdiff_t>(digits.find_first_of("123456789"));
    return point - leading + exponent <= 0;
}

/// The value of a JSON number; none when it is too large for a double. The library's own conversion is not used: beyond
/// the smallest and largest doubles it reads outside its table of powers and returns garbage.
std::optional<Value> parsedNumber(std::string_view text)
{
    if (text.find_first_of(".eE") == std::string_view::npos) {
        std::int64_t whole = 0;
        if (std::from_chars(text.data(), text.data() + text.size(), whole).ec == std::errc {})
            return whole;
    }
    double number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc {})
        return number;
    if (isBelowOne(text))
        return 0.0;
    return std::nullopt;
}

/// Receives the reader's events and puts the value together. A callback returns false to stop the reader.
///
/// Text is checked here, decoded, and not by the library: its own check sees raw bytes alone, and an escaped lone low
/// surrogate (\ude00) passes it and comes out as bytes that are no UTF-8.
class ValueBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueBuilder> {
public:
    bool Null() { return add(Value {}); }
    bool Bool(bool value) { return add(value); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool)
    {
        auto number = parsedNumber({text, length});
        return number && add(*std::move(number));
    }
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

    // Iterative, because the recursive way overflows the stack.
    constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag;
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
