#include "Platform/Foundation/BinaryPropertyList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>

namespace kova {
namespace {

using namespace std::string_literals;

const std::unexpected<std::error_code> malformed {PropertyListError::malformed};
const std::unexpected<std::error_code> tooComplex {PropertyListError::tooComplex};

std::string bytesOf(std::uint64_t number, int size)
{
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

/// A binary list made by hand. Offsets have four bytes, indexes two; the first object is the top one.
struct HandMadeList {
    std::vector<std::string> objects;

    [[nodiscard]] std::string bytes() const
    {
        std::string bytes {BinaryPropertyList::header};
        std::string table;
        for (const auto& object : objects) {
            table += bytesOf(bytes.size(), 4);
            bytes += object;
        }
        const auto position = bytes.size();
        return bytes + table + trailer(4, 2, objects.size(), 0, position);
    }

    static std::string trailer(
        int offsetSize, int indexSize, std::uint64_t count, std::uint64_t top, std::uint64_t table)
    {
        return std::string(6, '\0') + bytesOf(offsetSize, 1) + bytesOf(indexSize, 1) + bytesOf(count, 8)
            + bytesOf(top, 8) + bytesOf(table, 8);
    }

    /// An array (0xA0) or dictionary (0xD0) of fewer than 15 elements.
    static std::string container(int kind, std::initializer_list<int> indexes)
    {
        const auto count = static_cast<int>(indexes.size()) / (kind == 0xD0 ? 2 : 1);
        auto bytes = bytesOf(kind | count, 1);
        for (const auto index : indexes)
            bytes += bytesOf(index, 2);
        return bytes;
    }
};

TEST(BinaryPropertyListTest, ReadsFormsThatWeDoNotWrite)
{
    const auto wide = [](std::int64_t high, std::uint64_t low) { return "\x14"s + bytesOf(high, 8) + bytesOf(low, 8); };
    const std::tuple<const char*, HandMadeList, Value> rows[] = {
        {"16 bytes that fit", {{wide(0, 5)}}, 5},
        {"16 bytes, negative", {{wide(-1, 0 - std::uint64_t {7})}}, -7},
        {"16 bytes, unsigned 64 bits", {{wide(0, 1ULL << 63)}}, std::ldexp(1.0, 63)},
        {"16 bytes, below int64", {{wide(-1, 5)}}, -std::ldexp(1.0, 64)},
        {"real of four bytes", {{"\x22\x3F\xC0\0\0"s}}, 1.5},
        {"long count of a short text", {{"\x5F\x13\0\0\0\0\0\0\0\2hi"s}}, "hi"},
        {"shared and repeated keys",
            {{HandMadeList::container(0xD0, {1, 1, 2, 3}), "\x51"s + "a", "\x10\x01", "\x10\x02"}},
            Value::Dictionary {{"a", 2}}},
        {"shared array", {{HandMadeList::container(0xA0, {1, 1}), HandMadeList::container(0xA0, {2, 2}), "\x09"}},
            Value::Array {Value::Array {true, true}, Value::Array {true, true}}},
    };
    for (const auto& [name, list, expected] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(list.bytes()) == expected) << name;
}

TEST(BinaryPropertyListTest, RefusesForeignAndDamagedObjects)
{
    const std::pair<const char*, std::vector<std::string>> rows[] = {
        {"no objects", {}},
        {"null", {"\0"s}},
        {"integer of 32 bytes", {"\x15" + std::string(32, '\0')}},
        {"cut integer", {"\x13\1"}},
        {"UID", {"\x80\1"}},
        {"text of another version", {"\x71"s + "a"}},
        {"eighth bit in ASCII", {"\x51\xE9"}},
        {"lone high surrogate", {"\x61\xD8\x3D"}},
        {"high surrogate before a letter", {"\x62\xD8\x3D\0a"s}},
        {"huge count", {"\x4F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s}},
        {"count whose bytes overflow", {"\xDF\x13\x40\0\0\0\0\0\0\0"s}},
        {"count that is no integer", {"\x5F\x51"s + "a"}},
        {"index out of the table", {HandMadeList::container(0xA0, {1})}},
        {"key that is a number", {HandMadeList::container(0xD0, {1, 1}), "\x10\x01"}},
    };
    for (const auto& [name, objects] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(HandMadeList {objects}.bytes()) == malformed) << name;
}

TEST(BinaryPropertyListTest, RefusesFalseTrailers)
{
    const std::string body = "bplist00\x09\x08"s;
    ASSERT_TRUE(PropertyListDecoder::decode(body + HandMadeList::trailer(1, 1, 1, 0, 9)));
    constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
    const std::pair<const char*, std::string> rows[] = {
        {"only the header", "bplist00"},
        {"other version", "bplist15\x09\x08" + HandMadeList::trailer(1, 1, 1, 0, 9)},
        {"no offset size", body + HandMadeList::trailer(0, 1, 1, 0, 9)},
        {"no index size", body + HandMadeList::trailer(1, 0, 1, 0, 9)},
        {"large index size", body + HandMadeList::trailer(1, 255, 1, 0, 9)},
        {"top object that is none", body + HandMadeList::trailer(1, 1, 1, 1, 9)},
        {"too many objects", body + HandMadeList::trailer(1, 1, 2, 0, 9)},
        {"objects that overflow", body + HandMadeList::trailer(8, 1, (1ULL << 61) + 1, 0, 9)},
        {"table in the header", body + HandMadeList::trailer(1, 1, 1, 0, 7)},
        {"table out of the file", body + HandMadeList::trailer(1, 1, 1, 0, greatest)},
        {"object in the header", "bplist00\x09\x07" + HandMadeList::trailer(1, 1, 1, 0, 9)},
        {"object out of the file", "bplist00\x09" + bytesOf(greatest, 8) + HandMadeList::trailer(8, 1, 1, 0, 9)},
    };
    for (const auto& [name, bytes] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(bytes) == malformed) << name;
}

TEST(BinaryPropertyListTest, RefusesListsThatUnfoldWithoutEnd)
{
    HandMadeList chain;
    for (int index = 1; index < 60'000; ++index)
        chain.objects.push_back(HandMadeList::container(0xA0, {index}));
    chain.objects.emplace_back("\x09");
    HandMadeList doubling;
    for (int index = 1; index < 60; ++index)
        doubling.objects.push_back(HandMadeList::container(0xA0, {index, index}));
    doubling.objects.emplace_back("\x09");
    HandMadeList keys;
    keys.objects.emplace_back("\xAF\x12" + bytesOf(30'000, 4));
    for (int index = 0; index < 30'000; ++index)
        keys.objects.back() += bytesOf(1, 2);
    keys.objects.push_back(HandMadeList::container(0xD0, {2, 3}));
    keys.objects.push_back("\x5F\x12" + bytesOf(100'000, 4) + std::string(100'000, 'k'));
    keys.objects.emplace_back("\x09");
    const std::pair<const char*, HandMadeList> rows[] = {
        {"array in itself", {{HandMadeList::container(0xA0, {0})}}},
        {"cycle through a dictionary",
            {{HandMadeList::container(0xD0, {1, 2}), "\x50", HandMadeList::container(0xA0, {0, 0, 0})}}},
        {"chain of 60 000 arrays", chain},
        {"doubled sixty times", doubling},
        {"long key many times", keys},
    };
    for (const auto& [name, list] : rows)
        EXPECT_TRUE(PropertyListDecoder::decode(list.bytes()) == tooComplex) << name;
}

// Other encoders write equal texts once, so that an honest list unfolds to a hundred times its size.
TEST(BinaryPropertyListTest, BoundsSharingByWhatItCosts)
{
    constexpr int records = 12'000;
    const auto inbox = [](int textSize) {
        HandMadeList list;
        list.objects.emplace_back("\xAF\x11" + bytesOf(records, 2));
        for (int index = 1; index <= records; ++index)
            list.objects.back() += bytesOf(index, 2);
        for (int index = 0; index < records; ++index)
            list.objects.push_back(HandMadeList::container(0xD0, {records + 1, records + 2, records + 3, records + 3}));
        list.objects.insert(list.objects.end(), {"\x54"s + "body", "\x55"s + "title"});
        list.objects.push_back("\x5F\x11" + bytesOf(textSize, 2) + std::string(textSize, 'x'));
        return list.bytes();
    };
    const auto list = PropertyListDecoder::decode(inbox(2'000));
    ASSERT_TRUE(list) << list.error().message();
    const auto& all = *list->as<Value::Array>();
    ASSERT_EQ(all.size(), records);
    EXPECT_EQ(all[records - 1].find<std::string>("body")->size(), 2'000U);
    EXPECT_TRUE(PropertyListEncoder::encode(*list)) << "what was read can be written";
    EXPECT_TRUE(PropertyListDecoder::decode(inbox(3'000)) == tooComplex) << "69 MiB of text";
}

// Damage of every kind to a valid list: a value or an error, and what is a value can be written again.
TEST(BinaryPropertyListTest, SurvivesDamage)
{
    const Value::Dictionary small {
        {"a", Value::Array {1, "é", Data {"x"}, Date {5}, 0.5}}, {"b", Value::Dictionary {{"a", true}}}};
    const auto valid = PropertyListEncoder::encode(small);
    ASSERT_TRUE(valid);
    std::mt19937 random {3};
    int readable = 0;
    int refused = 0;
    for (int step = 0; step < 40'000; ++step) {
        std::string damaged {valid->text()};
        for (auto count = random() % 3; count < 3; ++count)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 4 == 0 ? 0xFF : random());
        if (step % 5 == 0)
            damaged.resize(random() % damaged.size());
        // A buffer of exactly this size, so that a sanitizer sees each byte read beyond.
        const auto exact = std::make_unique<char[]>(damaged.size());
        std::memcpy(exact.get(), damaged.data(), damaged.size());
        const auto value = PropertyListDecoder::decode({exact.get(), damaged.size()});
        if (!value) {
            ++refused;
            continue;
        }
        ++readable;
        const auto written = PropertyListEncoder::encode(*value);
        ASSERT_TRUE(written);
        ASSERT_TRUE(PropertyListDecoder::decode(written->text()));
    }
    EXPECT_GT(readable, 1'000);
    EXPECT_GT(refused, 1'000);
}

} // namespace
} // namespace kova
