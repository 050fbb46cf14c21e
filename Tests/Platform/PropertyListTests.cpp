#include "Platform/Foundation/PropertyList.h"

#include <gtest/gtest.h>

#include <limits>

namespace kova {
namespace {

using namespace std::string_literals;

std::string xml(std::string_view body)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">)"
        + std::string {body} + "</plist>\n";
}

Value nested(int depth)
{
    Value value = Value::Array {};
    for (int level = 1; level < depth; ++level)
        value = level % 2 == 0 ? Value {Value::Array {value}} : Value {Value::Dictionary {{"a", value}}};
    return value;
}

TEST(PropertyListTest, ComesBackAsItWas)
{
    const std::pair<const char*, Value> rows[] = {
        {"NUL in a text", "a\0b"s},
        {"part of a second", Date {1'706'702'400.25}},
        {"greatest depth", nested(PropertyListDecoder::maximumDepth)},
        {"one long text", std::string(3'000'000, 'a')},
    };
    for (const auto& [name, original] : rows) {
        const auto data = PropertyListEncoder::encode(original);
        ASSERT_TRUE(data) << name;
        EXPECT_TRUE(PropertyListDecoder::decode(data->text()) == original) << name;
    }
}

TEST(PropertyListTest, RefusesToEncodeWhatAListCannotHold)
{
    // A key of a megabyte stands in the file once, and would unfold to a gigabyte.
    Value::Array unfolding;
    for (int number = 0; number < 1'000; ++number)
        unfolding.append(Value::Dictionary {{std::string(1'000'000, 'k'), number}});
    const std::tuple<const char*, Value, PropertyListError> rows[] = {
        {"null", Value {}, PropertyListError::notRepresentable},
        {"null inside", Value::Dictionary {{"a", Value::Array {Value {}}}}, PropertyListError::notRepresentable},
        {"invalid text", "\xC3", PropertyListError::notRepresentable},
        {"invalid key", Value::Dictionary {{"\xED\xA0\x80", 1}}, PropertyListError::notRepresentable},
        {"too deep", nested(PropertyListDecoder::maximumDepth + 1), PropertyListError::tooComplex},
        {"what no decoder would take", unfolding, PropertyListError::tooComplex},
    };
    for (const auto& [name, value, error] : rows)
        EXPECT_TRUE(PropertyListEncoder::encode(value) == std::unexpected {make_error_code(error)}) << name;
}

TEST(PropertyListTest, StoresEqualKeysOnce)
{
    Value::Array records;
    for (int number = 0; number < 100; ++number)
        records.append(Value::Dictionary {{"a key that is rather long", number}});
    const auto data = PropertyListEncoder::encode(records);
    ASSERT_TRUE(data);
    const auto first = data->text().find("a key that is rather long");
    ASSERT_NE(first, std::string_view::npos);
    EXPECT_EQ(data->text().find("a key that is rather long", first + 1), std::string_view::npos);
}

TEST(XMLPropertyListTest, ReadsEveryElement)
{
    const std::pair<const char*, Value> rows[] = {
        {" <array>\n<true/><false></false>\t</array> ", Value::Array {true, false}},
        {"<string> a&lt;b&#233;&amp;<![CDATA[<c>]]> </string>", " a<bé&<c> "},
        {"<string><!-- note -->x<?hint?></string>", "x"},
        {"<integer> -42\n</integer>", -42},
        {"<integer>0x7fffFFFF</integer>", 0x7FFFFFFF},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        {"<integer>18446744073709551615</integer>", 18446744073709551615.0},
        {"<real>-1.5e3</real>", -1500.0},
        {"<real>+inf</real>", std::numeric_limits<double>::infinity()},
        {"<date>2024-01-31T12:00:00Z</date>", Date {1'706'702'400}},
        {"<date>1969-12-31T23:59:59Z</date>", Date {-1}},
        {"<data>\n\tAP+A\n\tYQ==\n</data>", Data {"\0\xFF\x80"s + "a"}},
        {"<dict><key>a</key><integer>1</integer><key/><string>e</string><key>a</key><array><dict/></array></dict>",
            Value::Dictionary {{"", "e"}, {"a", Value::Array {Value::Dictionary {}}}}},
    };
    for (const auto& [body, expected] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(xml(body)) == expected) << body;
}

TEST(XMLPropertyListTest, RefusesEverythingElse)
{
    const auto deep = [](int depth) {
        std::string body;
        for (int level = 0; level < depth; ++level)
            body += "<array>";
        for (int level = 0; level < depth; ++level)
            body += "</array>";
        return xml(body);
    };
    const struct {
        std::string text;
        PropertyListError error = PropertyListError::malformed;
    } rows[] = {
        {""},
        {"text"},
        {"<dict/>"},
        {xml("")},
        {xml("<true/>") + '\0'},
        {xml("<true/><true/>")},
        {xml("<null/>")},
        {"<list><dict/></list>"},
        {xml("<array><key>a</key></array>")},
        {xml("<dict><key>a</key></dict>")},
        {xml("<dict><true/></dict>")},
        {xml("<dict><key>a</key><key>b</key><true/></dict>")},
        {xml("<dict>x<key>a</key><true/></dict>")},
        {xml("<string>a<string>b</string></string>")},
        {xml("<true>yes</true>")},
        {xml("<integer></integer>")},
        {xml("<integer>1.5</integer>")},
        {xml("<integer>0x</integer>")},
        {xml("<integer>0x10000000000000000</integer>")},
        {xml("<real>1,5</real>")},
        {xml("<real>1e999</real>")},
        {xml("<date>2024-02-30T12:00:00Z</date>")},
        {xml("<date>2024-01-31T24:00:00Z</date>")},
        {xml("<date>2024-01-31 12:00:00Z</date>")},
        {xml("<data>A</data>")},
        {xml("<data>AA</data>")},
        {xml("<data>AA*=</data>")},
        {R"(<!DOCTYPE plist [<!ENTITY a "x">]><plist><string>x</string></plist>)"},
        {R"(<!DOCTYPE plist [<!ENTITY % p "x">]><plist><true/></plist>)"},
        {R"(<!DOCTYPE plist [<!ENTITY f SYSTEM "file:///etc/passwd">]><plist><string>&f;</string></plist>)"},
        {deep(PropertyListDecoder::maximumDepth + 1), PropertyListError::tooComplex},
        {deep(100'000), PropertyListError::tooComplex},
    };
    for (const auto& [text, error] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(text) == std::unexpected {make_error_code(error)})
            << text.substr(0, 500);
    EXPECT_TRUE(PropertyListDecoder::decode(deep(PropertyListDecoder::maximumDepth)));
}

TEST(XMLPropertyListTest, ReadsUTF16AndLargeLists)
{
    const std::u16string text = u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><plist><string>é😀</string></plist>";
    std::string bytes;
    for (const auto unit : text)
        bytes.append({static_cast<char>(unit >> 8), static_cast<char>(unit)});
    const auto value = PropertyListDecoder::decode(bytes);
    ASSERT_TRUE(value) << value.error().message();
    EXPECT_TRUE(*value == Value {"é😀"});

    // Longer than the pieces that the parser is fed with.
    std::string body = "<array>";
    for (int number = 0; number < 100'000; ++number)
        body += "<string>text ééé</string>";
    const auto large = PropertyListDecoder::decode(xml(body + "</array>"));
    ASSERT_TRUE(large);
    ASSERT_EQ(large->as<Value::Array>()->size(), 100'000U);
    for (const auto& element : *large->as<Value::Array>())
        ASSERT_TRUE(element == Value {"text ééé"});
}

} // namespace
} // namespace kova
