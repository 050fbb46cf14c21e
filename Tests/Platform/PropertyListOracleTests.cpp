// Our codec against another one, Python's plistlib: each reads what the other wrote.
//
// The other side runs the few lines below, each value checked in its own language, so that an error that encoder and
// decoder share cannot hide. Skipped where there is no Python.

#include "Platform/Foundation/PropertyList.h"
#include "Tests/Support/Process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>

namespace kova::tests {
namespace {

using namespace std::string_literals;

constexpr auto python = "/usr/bin/python3";

constexpr auto script = R"(
import datetime, plistlib, sys

shared = ["shared", {"k": 1}]
value = {
    "texts": ["", "plain", "caf\u00e9", "\u65e5\u672c\u8a9e", "\U0001F600 end",
              "a\u00e7\u00e3o de quinta a domingo \U0001F600\U0001F600 fim", "x" * 14, "y" * 15, "z" * 300,
              "\u00e9" * 70000],
    "numbers": [0, 1, 127, 128, 255, 256, 65535, 65536, 2**31, 2**32 - 1, 2**32, 2**63 - 1, -1, -128, -2**63],
    "reals": [0.0, -0.5, 0.1, 1e300, 5e-324],
    "flags": [True, False],
    "date": datetime.datetime(2024, 1, 31, 12, 0, 0),
    "early date": datetime.datetime(1900, 1, 1),
    "data": [b"", b"\x00\xff\x80", bytes(range(256)) * 20],
    "shared": [shared, shared, shared],
    "Schl\u00fcssel \U0001F511": {"": [], "numbers": {}},
    "many": [{"id": "id-%d" % i, "n": i} for i in range(1000)],
}
folder = sys.argv[2]
if sys.argv[1] == "write":
    for form, name in ((plistlib.FMT_BINARY, "binary"), (plistlib.FMT_XML, "xml")):
        with open(folder + "/" + name, "wb") as file:
            plistlib.dump(value, file, fmt=form)
else:
    with open(folder + "/ours", "rb") as file:
        read = plistlib.load(file, fmt=plistlib.FMT_BINARY)
    # As text, in which 1, 1.0 and True differ.
    sys.exit(0 if plistlib.dumps(read) == plistlib.dumps(value) else 1)
)";

std::string repeated(std::string_view text, int count)
{
    std::string result;
    for (int round = 0; round < count; ++round)
        result += text;
    return result;
}

/// Every kind of value: what the script calls `value`.
Value everyKind()
{
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte)
        allBytes += static_cast<char>(byte);
    Value::Array many;
    for (int number = 0; number < 1'000; ++number)
        many.append(Value::Dictionary {{"id", "id-" + std::to_string(number)}, {"n", number}});
    const Value::Array shared {"shared", Value::Dictionary {{"k", 1}}};
    return Value::Dictionary {
        {"texts",
            Value::Array {"", "plain", "café", "日本語", "😀 end", "ação de quinta a domingo 😀😀 fim",
                std::string(14, 'x'), std::string(15, 'y'), std::string(300, 'z'), repeated("é", 70'000)}},
        {"numbers",
            Value::Array {0, 1, 127, 128, 255, 256, 65'535, 65'536, 2'147'483'648LL, 4'294'967'295LL, 4'294'967'296LL,
                std::numeric_limits<std::int64_t>::max(), -1, -128, std::numeric_limits<std::int64_t>::min()}},
        {"reals", Value::Array {0.0, -0.5, 0.1, 1e300, 5e-324}},
        {"flags", Value::Array {true, false}},
        {"date", Date {1'706'702'400}},
        {"early date", Date {-2'208'988'800}},
        {"data", Value::Array {Data {""}, Data {"\0\xFF\x80"s}, Data {repeated(allBytes, 20)}}},
        {"shared", Value::Array {shared, shared, shared}},
        {"Schlüssel 🔑", Value::Dictionary {{"", Value::Array {}}, {"numbers", Value::Dictionary {}}}},
        {"many", many},
    };
}

TEST(PropertyListTest, EveryKindComesBackAsItWas)
{
    const auto data = PropertyListEncoder::encode(everyKind());
    ASSERT_TRUE(data);
    EXPECT_TRUE(PropertyListDecoder::decode(data->text()) == everyKind());
}

class PropertyListOracleTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(python))
            GTEST_SKIP() << "no " << python;
    }

    std::optional<ProcessEnd> run(const std::string& action)
    {
        return Process {{.executable = python, .arguments = {"-c", script, action, m_folder.string()}}}.wait();
    }

    std::string contents(const std::string& name)
    {
        std::ifstream file {m_folder / name, std::ios::binary};
        return {std::istreambuf_iterator<char> {file}, {}};
    }

    TemporaryFolder m_temporary;
    const std::filesystem::path& m_folder = m_temporary.path();
};

TEST_F(PropertyListOracleTest, TheOtherSideReadsWhatWeWrite)
{
    const auto data = PropertyListEncoder::encode(everyKind());
    ASSERT_TRUE(data);
    std::ofstream {m_folder / "ours", std::ios::binary} << data->text();
    EXPECT_EQ(run("read"), ProcessEnd {.exitStatus = 0});

    // And it does see a difference.
    const auto other = PropertyListEncoder::encode(Value::Dictionary {{"date", Date {1}}});
    ASSERT_TRUE(other);
    std::ofstream {m_folder / "ours", std::ios::binary} << other->text();
    EXPECT_EQ(run("read"), ProcessEnd {.exitStatus = 1});
}

TEST_F(PropertyListOracleTest, WeReadWhatTheOtherSideWrites)
{
    ASSERT_EQ(run("write"), ProcessEnd {.exitStatus = 0});
    for (const auto* name : {"binary", "xml"}) {
        const auto value = PropertyListDecoder::decode(contents(name));
        ASSERT_TRUE(value) << name << ": " << value.error().message();
        EXPECT_TRUE(*value == everyKind()) << name;
    }
}

} // namespace
} // namespace kova::tests
