// UTF-8 checking, repair and assembly: text enters the SDK valid, or it does not enter.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kova {

/// One step of reading UTF-8: a code point and the number of bytes it takes, or `valid == false` and the number of
/// bytes that cannot begin or continue a sequence and are to be replaced as one.
struct DecodedCodePoint {
    char32_t value = 0;
    std::size_t length = 0;
    bool valid = false;
};

/// Decodes at the beginning of `text`, which must not be empty. Surrogates, overlong forms and values above U+10FFFF
/// are not valid.
[[nodiscard]] DecodedCodePoint decodeCodePoint(std::string_view text);

[[nodiscard]] bool isASCII(std::string_view text);

[[nodiscard]] bool isValidUTF8(std::string_view text);

/// The text with every ill-formed sequence replaced by U+FFFD; valid text comes back unchanged.
[[nodiscard]] std::string repairedUTF8(std::string_view text);

/// Writes a Unicode scalar value as UTF-8, at most four bytes, and returns where they end.
[[nodiscard]] char* writeUTF8(char* at, char32_t codePoint);

/// Appends a Unicode scalar value as UTF-8.
void appendUTF8(std::string& text, char32_t codePoint);

} // namespace kova
