#include "Platform/Foundation/Description.h"

#include "Platform/Foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace kova {

namespace {

bool breaksLine(char32_t codePoint)
{
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F) || codePoint == 0x2028 || codePoint == 0x2029;
}

void appendEscape(std::string& escaped, char32_t codePoint)
{
    switch (codePoint) {
    case '\0':
        escaped += "\\0";
        return;
    case '\t':
        escaped += "\\t";
        return;
    case '\n':
        escaped += "\\n";
        return;
    case '\r':
        escaped += "\\r";
        return;
    default:
        break;
    }
    std::array<char, 8> digits {};
    const auto end
        = std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<unsigned>(codePoint), 16).ptr;
    escaped += "\\u{";
    for (const auto* digit = digits.data(); digit != end; ++digit)
        escaped += *digit >= 'a' ? static_cast<char>(*digit - 'a' + 'A') : *digit;
    escaped += '}';
}

enum class Quotes { Keep, Escape };

// How many leading bytes stand for themselves, whatever the quotes: most of any text.
std::size_t plainPrefix(std::string_view text)
{
    const auto isPlain = [](char byte) { return byte >= ' ' && byte <= '~' && byte != '"' && byte != '\\'; };
    return static_cast<std::size_t>(std::ranges::find_if_not(text, isPlain) - text.begin());
}

void appendEscaped(std::string& escaped, std::string_view text, Quotes quotes)
{
    while (true) {
        const auto plain = plainPrefix(text);
        escaped += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return;
        if (text[0] == '"' || text[0] == '\\') {
            if (quotes == Quotes::Escape)
                escaped += '\\';
            escaped += text[0];
            text.remove_prefix(1);
            continue;
        }
        const auto decoded = decodeCodePoint(text);
        if (!decoded.valid) {
            appendUTF8(escaped, U'\uFFFD');
        } else if (breaksLine(decoded.value)) {
            appendEscape(escaped, decoded.value);
        } else {
            escaped += text.substr(0, decoded.length);
        }
        text.remove_prefix(decoded.length);
    }
}

std::string numberText(auto number)
{
    std::array<char, 32> digits {};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    return {digits.data(), end};
}

std::string nestedDescription(const Value& value)
{
    const auto* text = value.as<std::string>();
    return text ? debugDescription(*text) : description(value);
}

} // namespace

std::string singleLine(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size());
    appendEscaped(escaped, text, Quotes::Keep);
    return escaped;
}

std::string debugDescription(std::string_view text)
{
    std::string escaped;
    escaped.reserve(text.size() + 2);
    escaped += '"';
    appendEscaped(escaped, text, Quotes::Escape);
    escaped += '"';
    return escaped;
}

std::string description(const std::optional<std::string>& text)
{
    return text ? "Optional(" + debugDescription(*text) + ")" : "nil";
}

std::string decodedDescription(const Data& data)
{
    return isValidUTF8(data.text()) ? "Optional(" + debugDescription(data.text()) + ")" : "nil";
}

std::string description(const Value& value)
{
    if (value.isNull())
        return "<null>";
    if (const auto* boolean = value.as<bool>())
        return *boolean ? "true" : "false";
    if (const auto* integer = value.as<std::int64_t>())
        return numberText(*integer);
    if (const auto* number = value.as<double>())
        return numberText(*number);
    if (const auto* text = value.as<std::string>())
        return singleLine(*text);
    if (const auto* data = value.as<Data>())
        return numberText(data->size()) + " bytes";
    if (const auto* date = value.as<Date>())
        return description(*date);
    std::string list = "[";
    if (const auto* array = value.as<Value::Array>()) {
        for (const auto& element : *array)
            list += (list.size() > 1 ? ", " : "") + nestedDescription(element);
        return list + "]";
    }
    for (const auto& [key, entry] : *value.as<Value::Dictionary>())
        list += (list.size() > 1 ? ", " : "") + debugDescription(key) + ": " + nestedDescription(entry);
    return list.size() == 1 ? "[:]" : list + "]";
}

} // namespace kova
