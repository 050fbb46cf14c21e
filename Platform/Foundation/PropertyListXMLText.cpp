#include "Platform/Foundation/PropertyListXMLText.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace kova {

namespace {

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isXMLSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isXMLSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// The whole text as a number without sign.
template <typename Number, typename... Format>
std::optional<Number> parsedNumber(std::string_view text, Format... format)
{
    // The conversion takes a minus sign, which has been taken off here.
    if (text.starts_with('-'))
        return std::nullopt;
    Number number {};
    const auto* const begin = text.data();
    const auto* const textEnd = begin + text.size();
    const auto [end, error] = std::from_chars(begin, textEnd, number, format...);
    if (error != std::errc {} || end != textEnd)
        return std::nullopt;
    return number;
}

bool takeSign(std::string_view& text)
{
    const auto isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    return isNegative;
}

std::optional<Value> parsedInteger(std::string_view text)
{
    const auto isNegative = takeSign(text);
    std::optional<std::uint64_t> magnitude;
    if (text.starts_with("0x") || text.starts_with("0X"))
        magnitude = parsedNumber<std::uint64_t>(text.substr(2), 16);
    else
        magnitude = parsedNumber<std::uint64_t>(text);
    if (!magnitude)
        return std::nullopt;
    constexpr auto signBit = std::uint64_t {1} << 63U;
    if (*magnitude < signBit || (isNegative && *magnitude == signBit))
        return static_cast<std::int64_t>(isNegative ? 0 - *magnitude : *magnitude);
    return isNegative ? -static_cast<double>(*magnitude) : static_cast<double>(*magnitude);
}

std::optional<Value> parsedReal(std::string_view text)
{
    const auto isNegative = takeSign(text);
    const auto magnitude = parsedNumber<double>(text);
    if (!magnitude)
        return std::nullopt;
    return isNegative ? -*magnitude : *magnitude;
}

std::optional<Value> parsedDate(std::string_view text)
{
    using namespace std::chrono;
    constexpr std::string_view pattern = "0000-00-00T00:00:00Z";
    const auto matches = [](char letter, char expected) {
        return expected == '0' ? letter >= '0' && letter <= '9' : letter == expected;
    };
    if (!std::ranges::equal(text, pattern, matches))
        return std::nullopt;
    const auto field = [text](std::size_t position, std::size_t length) {
        return static_cast<unsigned>(*parsedNumber<unsigned>(text.substr(position, length)));
    };
    const year_month_day calendar {year {static_cast<int>(field(0, 4))}, month {field(5, 2)}, day {field(8, 2)}};
    if (!calendar.ok() || field(11, 2) > 23 || field(14, 2) > 59 || field(17, 2) > 59)
        return std::nullopt;
    const auto time = sys_days {calendar} + hours {field(11, 2)} + minutes {field(14, 2)} + seconds {field(17, 2)};
    return Date {static_cast<double>(time.time_since_epoch().count())};
}

/// The six bits of a base64 digit, or -1.
int base64Digit(char letter)
{
    if (letter >= 'A' && letter <= 'Z')
        return letter - 'A';
    if (letter >= 'a' && letter <= 'z')
        return letter - 'a' + 26;
    if (letter >= '0' && letter <= '9')
        return letter - '0' + 52;
    if (letter == '+')
        return 62;
    return letter == '/' ? 63 : -1;
}

std::optional<Value> parsedData(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (const auto letter : text) {
        if (isXMLSpace(letter))
            continue;
        if (letter == '=') {
            ++padding;
            continue;
        }
        const auto digit = base64Digit(letter);
        if (digit < 0 || padding != 0)
            return std::nullopt;
        bits = bits << 6U | static_cast<std::uint32_t>(digit);
        // Of four digits all but the first complete a byte.
        if (const auto place = digits++ % 4; place != 0)
            bytes.push_back(static_cast<char>(bits >> (6 - 2 * place)));
    }
    if (digits % 4 == 1 || padding > 2 || (digits + padding) % 4 != 0)
        return std::nullopt;
    return Data {std::move(bytes)};
}

} // namespace

std::optional<Value> propertyListScalar(std::string_view element, std::string text)
{
    if (element == "string")
        return Value {std::move(text)};
    if (element == "integer")
        return parsedInteger(trimmed(text));
    if (element == "real")
        return parsedReal(trimmed(text));
    if (element == "date")
        return parsedDate(trimmed(text));
    if (element == "data")
        return parsedData(text);
    if ((element == "true" || element == "false") && trimmed(text).empty())
        return element == "true";
    return std::nullopt;
}

} // namespace kova
