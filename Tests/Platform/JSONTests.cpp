#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/JSONWriter.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

namespace kova {
namespace {

using namespace std::string_literals;

std::string nested(int depth)
{
    const auto count = static_cast<std::size_t>(depth);
    return std::string(count, '[') + std::string(count, ']');
}

std::string written(const Value& value)
{
    const auto data = JSONSerialization::data(value);
    return data ? std::string {data->text()} : data.error().message();
}

TEST(JSONTest, ReadsEveryKindOfValue)
{
    const std::tuple<const char*, std::string, Value> rows[] = {
        {"null", "null", Value {}},
        {"true among white space", " \t\r\n true ", true},
        {"byte order mark", "\xEF\xBB\xBF[false]", Value::Array {false}},
        {"greatest integer", "9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"least integer", "-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"integer beyond", "9223372036854775808", 9223372036854775808.0},
        {"a fraction of zero stays a double", "10.0", 10.0},
        {"too small a number", "1e-400", 0.0},
        {"too small a number of many digits", "1509.379605771490029006e-330", 0.0},
        {"too small a number without exponent", "-0." + std::string(400, '0') + "1", 0.0},
        {"great mantissa, small exponent", "17" + std::string(300, '0') + ".5e-301", 1.7},
        {"last digit of a double", "0.30000000000000004", 0.1 + 0.2},
        {"escapes", R"("\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00")", "\"\\/\b\f\n\r\té😀"},
        {"NUL in text", R"("a\u0000b")", "a\0b"s},
        {"last of equal keys", R"({"a":1,"b":2,"a":[3]})", Value::Dictionary {{"a", Value::Array {3}}, {"b", 2}}},
        {"containers in one another", R"({"a":[{"b":[1,{"c":null}]},2],"":0})",
            Value::Dictionary {
                {"a",
                    Value::Array {Value::Dictionary {{"b", Value::Array {1, Value::Dictionary {{"c", Value {}}}}}}, 2}},
                {"", 0}}},
    };
    for (const auto& [name, text, expected] : rows)
        EXPECT_TRUE(JSONSerialization::jsonObject(text) == expected) << name;
}

TEST(JSONTest, RefusesWhatIsNotJSON)
{
    const struct {
        std::string_view name;
        std::string text;
        JSONError error = JSONError::malformed;
    } rows[] = {
        {"empty", ""},
        {"only a byte order mark", "\xEF\xBB\xBF"},
        {"trailing bytes", "{} x"},
        {"NUL behind the document", "{}\0"s},
        {"document behind a NUL", "1\0[}"s},
        {"NUL in the document", "[1\0]"s},
        {"NUL in a string", "\"a\0b\""s},
        {"trailing comma", "[1,]"},
        {"comment", "[1]// one"},
        {"leading zero", "01"},
        {"not a number", "NaN"},
        {"infinity", "-Infinity"},
        {"number out of range", "1e400"},
        {"number just out of range", "90535233902785049887462243352163315971918e268"},
        {"number of too many digits", std::string(400, '9')},
        {"lone high surrogate", R"("\ud83d")"},
        {"high surrogate before a letter", R"("\ud83d\u0041")"},
        {"overlong form", "\"\xC0\xAF\"", JSONError::notUTF8},
        {"surrogate as UTF-8", "\"\xED\xA0\x80\"", JSONError::notUTF8},
        {"lone continuation byte in a key", "{\"\x80\":1}", JSONError::notUTF8},
        {"UTF-16", "\xFF\xFE[\0]\0"s, JSONError::notUTF8},
        {"one too deep", nested(JSONSerialization::maximumDepth + 1), JSONError::nestedTooDeep},
        {"a million brackets", std::string(1'000'000, '['), JSONError::nestedTooDeep},
    };
    for (const auto& [name, text, error] : rows)
        EXPECT_TRUE(JSONSerialization::jsonObject(text) == std::unexpected {make_error_code(error)}) << name;
    EXPECT_TRUE(JSONSerialization::jsonObject(nested(JSONSerialization::maximumDepth)));
}

TEST(JSONTest, WritesCompactTextThatOthersRead)
{
    const std::pair<Value, const char*> rows[] = {
        {Value {}, "null"},
        {Value::Array {true, false}, "[true,false]"},
        {Value::Array {10.0, -3.0, 0.0, 2.5, 0.1}, "[10,-3,0,2.5,0.1]"},
        {Value::Array {9007199254740991.0, 1e300, 5e-324}, "[9007199254740991,1e+300,5e-324]"},
        {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
        {"a\"\\/\n\x01\0é😀"s, R"("a\"\\/\n\u0001\u0000é😀")"},
        {Value::Dictionary {{"b", Value::Array {}}, {"", Value::Dictionary {}}}, R"({"":{},"b":[]})"},
        {Data {"x"}, "JSON cannot hold a value of this type"},
        {Value::Dictionary {{"at", Date {0}}}, "JSON cannot hold a value of this type"},
        {Value::Array {std::nan("")}, "JSON cannot hold an infinite or not-a-number value"},
        {std::numeric_limits<double>::infinity(), "JSON cannot hold an infinite or not-a-number value"},
        {"\xFF", "The text is not valid UTF-8"},
        {Value::Dictionary {{"\xC3", 1}}, "The text is not valid UTF-8"},
    };
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(written(value), expected);
}

TEST(JSONTest, WritesAsDeepAsItReads)
{
    Value value = Value::Array {};
    for (int depth = 1; depth < JSONSerialization::maximumDepth; ++depth)
        value = Value::Array {value};
    EXPECT_EQ(written(value), nested(JSONSerialization::maximumDepth));
    EXPECT_EQ(JSONSerialization::data(Value::Array {value}).error(), JSONError::nestedTooDeep);
    EXPECT_EQ(JSONSerialization::data(Value::Dictionary {{"a", value}}).error(), JSONError::nestedTooDeep);
}

TEST(JSONTest, DoublesComeBackBitForBit)
{
    std::mt19937_64 random {11};
    for (int step = 0; step < 20'000; ++step) {
        // Every other number has an exponent as in daily life.
        auto number = std::bit_cast<double>(random());
        if (step % 2 == 0)
            number = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 128) - 96);
        if (!std::isfinite(number))
            continue;
        const auto text = written(number);
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), number) << text;
        const auto value = JSONSerialization::jsonObject(text);
        ASSERT_TRUE(value) << text;
        const auto* whole = value->as<std::int64_t>();
        ASSERT_EQ(whole ? static_cast<double>(*whole) : *value->as<double>(), number) << text;
    }
}

TEST(JSONWriterTest, KeepsTheFirstErrorAndStartsAfresh)
{
    JSONWriter writer;
    writer.beginObject();
    writer.key("a");
    writer.number(std::nan(""));
    writer.key("\xFF");
    writer.value(Data {"x"});
    writer.endObject();
    EXPECT_EQ(writer.take().error(), JSONError::notFinite);

    EXPECT_EQ(writer.take().error(), JSONError::malformed) << "nothing was written";
    writer.beginArray();
    EXPECT_EQ(writer.take().error(), JSONError::malformed) << "the array is still open";

    writer.beginObject();
    writer.key("id");
    writer.string({});
    writer.key("list");
    writer.beginArray();
    writer.value(Value::Dictionary {{"deep", Value::Array {1e3, true}}});
    writer.null();
    writer.endArray();
    writer.endObject();
    const auto data = writer.take();
    ASSERT_TRUE(data) << data.error().message();
    EXPECT_EQ(data->text(), R"({"id":"","list":[{"deep":[1000,true]},null]})");
}

} // namespace
} // namespace kova
