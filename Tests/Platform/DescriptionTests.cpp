#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/Unicode.h"

#include <gtest/gtest.h>

namespace kova {
namespace {

using std::string_literals::operator""s;

TEST(DescriptionTest, KeepsEveryTextOnOneLine)
{
    const std::tuple<std::string, const char*, const char*> rows[] {
        {"plain", "plain", "\"plain\""},
        {"", "", "\"\""},
        {"say \"olá\" \\ ☕️", "say \"olá\" \\ ☕️", "\"say \\\"olá\\\" \\\\ ☕️\""},
        {"a\nNETWORK : forged\r\t", "a\\nNETWORK : forged\\r\\t", "\"a\\nNETWORK : forged\\r\\t\""},
        {"\0\x1B[31m\x7F"s, "\\0\\u{1B}[31m\\u{7F}", "\"\\0\\u{1B}[31m\\u{7F}\""},
        {"\u0085\u2028\u2029", "\\u{85}\\u{2028}\\u{2029}", "\"\\u{85}\\u{2028}\\u{2029}\""},
        {"a\xFF\xC3", "a\uFFFD\uFFFD", "\"a\uFFFD\uFFFD\""},
        {"\u202Etxt.exe\u202C", "\\u{202E}txt.exe\\u{202C}", "\"\\u{202E}txt.exe\\u{202C}\""},
        {"a\u200Bb\u2060c\uFEFFd", "a\\u{200B}b\\u{2060}c\\u{FEFF}d", "\"a\\u{200B}b\\u{2060}c\\u{FEFF}d\""},
        {"\u2603\uFE0F \u00AE \u0645", "\u2603\uFE0F \u00AE \u0645", "\"\u2603\uFE0F \u00AE \u0645\""},
    };
    for (const auto& [text, bare, quoted] : rows) {
        EXPECT_EQ(singleLine(text), bare);
        EXPECT_EQ(debugDescription(text), quoted);
    }
    const auto isEscaped = [](char32_t codePoint) {
        std::string text;
        appendUTF8(text, codePoint);
        return singleLine(text) != text;
    };
    for (const unsigned codePoint : {0xADU, 0x61CU, 0x200BU, 0x200DU, 0x200FU, 0x202AU, 0x202EU, 0x2060U, 0x2064U,
             0x2066U, 0x2069U, 0xFEFFU, 0xFFF9U, 0xE0001U, 0xE0FFFU})
        EXPECT_TRUE(isEscaped(codePoint)) << std::hex << codePoint;
    for (const unsigned codePoint :
        {0xA0U, 0xAEU, 0x61BU, 0x61DU, 0x200AU, 0x2010U, 0x2027U, 0x202FU, 0x2070U, 0xFE0FU, 0x1F468U, 0xE1000U})
        EXPECT_FALSE(isEscaped(codePoint)) << std::hex << codePoint;
    EXPECT_EQ(description(std::optional<std::string> {"a\"b"}), "Optional(\"a\\\"b\")");
    EXPECT_EQ(description(std::optional<std::string> {}), "nil");
    EXPECT_EQ(decodedDescription(Data {}), "Optional(\"\")");
    EXPECT_EQ(decodedDescription(Data {"\xFF"s}), "nil");
}

TEST(DescriptionTest, ShowsValues)
{
    EXPECT_EQ(description(Value {}), "<null>");
    EXPECT_EQ(description(Value {true}), "true");
    EXPECT_EQ(description(Value {-5}), "-5");
    EXPECT_EQ(description(Value {12.5}), "12.5");
    EXPECT_EQ(description(Value {"a\nb"}), "a\\nb");
    EXPECT_EQ(description(Value {Data {"abc"s}}), "3 bytes");
    EXPECT_EQ(description(Value {Value::Dictionary {}}), "[:]");
    EXPECT_EQ(description(Value {Value::Dictionary {{"k", Value::Array {1, "x\"", Value {}}}}}),
        "[\"k\": [1, \"x\\\"\", <null>]]");
    EXPECT_EQ(description(Date {1706702400.75}), "2024-01-31 12:00:00 +0000");
    EXPECT_EQ(description(Date {-0.5}), "1969-12-31 23:59:59 +0000");
    EXPECT_EQ(description(Date {1e300}).substr(0, 6), "30489-");
}

TEST(UnicodeTest, RepairsExactlyWhatIsIllFormed)
{
    const std::pair<std::string, const char*> rows[] {
        {"pão 👩‍👩‍👧", "pão 👩‍👩‍👧"},
        {"\x80", "\uFFFD"},
        {"\xC0\xAF", "\uFFFD\uFFFD"}, // overlong
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"}, // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond U+10FFFF
        {"\xE2\x82x", "\uFFFDx"}, // truncated
        {"\xF0\x9F\x8E", "\uFFFD"},
    };
    for (const auto& [text, repaired] : rows) {
        EXPECT_EQ(repairedUTF8(text), repaired);
        EXPECT_EQ(isValidUTF8(text), text == repaired);
        EXPECT_TRUE(isValidUTF8(repairedUTF8(text)));
    }
}

} // namespace
} // namespace kova
