#include "Platform/Foundation/Description.h"

#include "Platform/Foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace kova {

namespace {

struct CodePointRange {
    char32_t first = 0;
    char32_t last = 0;
};

/// Code points that break a line, reorder it or cannot be seen, in order: what a reader would not notice, or would take
/// for something else. Joiners are among them, although emoji and some scripts need them. Variation selectors of the
/// first block are not: they only choose how the letter before them is drawn.
constexpr std::array escapedRanges {
    CodePointRange {0x00, 0x1F}, // C0 controls
    CodePointRange {0x7F, 0x9F}, // delete, C1 controls
    CodePointRange {0xAD, 0xAD}, // soft hyphen
    CodePointRange {0x034F, 0x034F}, // combining grapheme joiner
    CodePointRange {0x061C, 0x061C}, // Arabic letter mark
    CodePointRange {0x115F, 0x1160}, // Hangul fillers
    CodePointRange {0x17B4, 0x17B5}, // Khmer inherent vowels
    CodePointRange {0x180E, 0x180E}, // Mongolian vowel separator
    CodePointRange {0x200B, 0x200F}, // zero-width space and joiners, marks of direction
    CodePointRange {0x2028, 0x202E}, // line and paragraph separators, embeddings and overrides of direction
    CodePointRange {0x2060, 0x206F}, // word joiner, invisible operators, isolates of direction
    CodePointRange {0x3164, 0x3164}, // Hangul filler
    CodePointRange {0xFEFF, 0xFEFF}, // byte order mark
    CodePointRange {0xFFA0, 0xFFA0}, // Hangul filler
    CodePointRange {0xFFF0, 0xFFFB}, // interlinear annotation
    CodePointRange {0x1BCA0, 0x1BCA3}, // shorthand controls
    CodePointRange {0x1D173, 0x1D17A}, // musical controls
    CodePointRange {0xE0000, 0xE0FFF}, // tags, further variation selectors
};

bool isEscaped(char32_t codePoint)
{
    const auto range = std::ranges::lower_bound(escapedRanges, codePoint, {}, &CodePointRange::last);
    return range != escapedRanges.end() && codePoint >= range->first;
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
        } else if (isEscaped(decoded.value)) {
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
    std::string description;
    appendDescription(description, text);
    return description;
}

void appendDescription(std::string& description, const std::optional<std::string>& text)
{
    if (!text) {
        description += "nil";
        return;
    }
    description += "Optional(\"";
    appendEscaped(description, *text, Quotes::Escape);
    description += "\")";
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
