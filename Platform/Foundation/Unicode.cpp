#include "Platform/Foundation/Unicode.h"

#include <array>
#include <cstring>

namespace kova {

namespace {

std::uint8_t byteAt(std::string_view text, std::size_t index)
{
    return static_cast<std::uint8_t>(text[index]);
}

/// How many leading bytes are ASCII, eight at a time: most text is nothing else, and all of it is checked.
std::size_t asciiPrefix(std::string_view text)
{
    std::size_t length = 0;
    for (std::uint64_t word = 0; text.size() - length >= sizeof word; length += sizeof word) {
        std::memcpy(&word, text.data() + length, sizeof word);
        if ((word & 0x8080808080808080U) != 0)
            break;
    }
    while (length < text.size() && byteAt(text, length) < 0x80)
        ++length;
    return length;
}

} // namespace

DecodedCodePoint decodeCodePoint(std::string_view text)
{
    const auto lead = byteAt(text, 0);
    if (lead < 0x80)
        return {.value = lead, .length = 1, .valid = true};

    std::size_t length = 0;
    char32_t value = 0;
    // The second byte alone tells overlong forms, surrogates and values that are too large.
    std::uint8_t secondMinimum = 0x80;
    std::uint8_t secondMaximum = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        value = lead & 0x0F;
        secondMinimum = lead == 0xE0 ? 0xA0 : 0x80;
        secondMaximum = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        value = lead & 0x07;
        secondMinimum = lead == 0xF0 ? 0x90 : 0x80;
        secondMaximum = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return {.length = 1};
    }
    for (std::size_t index = 1; index < length; ++index) {
        if (index >= text.size())
            return {.length = index};
        const auto byte = byteAt(text, index);
        const auto minimum = index == 1 ? secondMinimum : std::uint8_t {0x80};
        const auto maximum = index == 1 ? secondMaximum : std::uint8_t {0xBF};
        if (byte < minimum || byte > maximum)
            return {.length = index};
        value = (value << 6) | (byte & 0x3F);
    }
    return {.value = value, .length = length, .valid = true};
}

bool isASCII(std::string_view text)
{
    return asciiPrefix(text) == text.size();
}

bool isValidUTF8(std::string_view text)
{
    while (true) {
        text.remove_prefix(asciiPrefix(text));
        if (text.empty())
            return true;
        const auto decoded = decodeCodePoint(text);
        if (!decoded.valid)
            return false;
        text.remove_prefix(decoded.length);
    }
}

std::string repairedUTF8(std::string_view text)
{
    std::string repaired;
    repaired.reserve(text.size());
    while (!text.empty()) {
        const auto decoded = decodeCodePoint(text);
        if (decoded.valid)
            repaired.append(text.substr(0, decoded.length));
        else
            appendUTF8(repaired, U'\uFFFD');
        text.remove_prefix(decoded.length);
    }
    return repaired;
}

char* writeUTF8(char* at, char32_t codePoint)
{
    const auto write = [&at](char32_t byte) { *at++ = static_cast<char>(byte); };
    if (codePoint < 0x80) {
        write(codePoint);
    } else if (codePoint < 0x800) {
        write(0xC0 | (codePoint >> 6));
        write(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        write(0xE0 | (codePoint >> 12));
        write(0x80 | ((codePoint >> 6) & 0x3F));
        write(0x80 | (codePoint & 0x3F));
    } else {
        write(0xF0 | (codePoint >> 18));
        write(0x80 | ((codePoint >> 12) & 0x3F));
        write(0x80 | ((codePoint >> 6) & 0x3F));
        write(0x80 | (codePoint & 0x3F));
    }
    return at;
}

void appendUTF8(std::string& text, char32_t codePoint)
{
    std::array<char, 4> bytes {};
    text.append(bytes.data(), writeUTF8(bytes.data(), codePoint));
}

} // namespace kova
