// The inbox's own coder beside the general one: the same bytes, the same records, the same refusals.

#include "KovaSDK/Push/PushServices/InboxCoder.h"
#include "Platform/Foundation/PropertyList.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace kova {
namespace {

using Records = std::vector<KovaNotification>;

constexpr std::array texts {
    &KovaNotification::notificationID,
    &KovaNotification::title,
    &KovaNotification::subtitle,
    &KovaNotification::body,
    &KovaNotification::launchURL,
    &KovaNotification::att,
};

Value valueOf(const Records& records)
{
    Value::Array list;
    for (const auto& record : records)
        list.append(record.encode());
    return list;
}

std::optional<Value> generallyDecoded(std::string_view bytes)
{
    const auto list = PropertyListDecoder::decode(bytes);
    const auto* values = list ? list->as<Value::Array>() : nullptr;
    if (!values)
        return std::nullopt;
    Records records;
    for (const auto& value : *values) {
        auto record = KovaNotification::decode(value);
        if (!record)
            return std::nullopt;
        records.push_back(*std::move(record));
    }
    return valueOf(records);
}

std::optional<Value> decoded(std::string_view bytes)
{
    const auto records = InboxCoder::decode(bytes);
    return records ? std::optional {valueOf(*records)} : std::nullopt;
}

class RandomInbox {
public:
    Records records(std::size_t count)
    {
        Records records(count);
        for (auto& record : records) {
            for (const auto field : texts) {
                if (number(4) > 0)
                    record.*field = text();
            }
            record.read = number(2) == 0;
        }
        return records;
    }

    std::size_t number(std::size_t bound) { return m_random() % bound; }

private:
    std::string text()
    {
        const std::array<std::string_view, 6> parts {"a", "promo", std::string_view {"\0", 1}, "ç", "語", "😀"};
        std::string text;
        for (auto count = number(3) == 0 ? number(300) : number(20); count > 0; --count)
            text += parts[number(number(2) == 0 ? 2 : parts.size())];
        return text;
    }

    std::mt19937 m_random {20'240'229};
};

TEST(InboxCoderTest, MakesBytesOfGeneralEncoder)
{
    RandomInbox inbox;
    // Long ones have indexes of two bytes, and of four.
    constexpr std::array<std::size_t, 3> longest {10, 100, 10'000};
    constexpr std::array rounds {1'000, 100, 1};
    for (std::size_t length = 0; length < longest.size(); ++length) {
        for (int round = 0; round < rounds[length]; ++round) {
            SCOPED_TRACE(round);
            const auto records = inbox.records(length == 2 ? longest[length] : inbox.number(longest[length]));
            const auto bytes = InboxCoder::encode(records);
            ASSERT_TRUE(bytes);
            ASSERT_EQ(bytes->text(), PropertyListEncoder::encode(valueOf(records))->text());
            ASSERT_EQ(decoded(bytes->text()), valueOf(records));
        }
    }
    Records records(2);
    records[1].title = "\xFF";
    EXPECT_FALSE(InboxCoder::encode(records));
}

TEST(InboxCoderTest, ReadsWhatGeneralDecoderReads)
{
    const auto encoded
        = [](Value value) { return std::string {PropertyListEncoder::encode(std::move(value))->text()}; };
    const Value::Dictionary record {{"read", true}, {"title", "a"}, {"body", "ç"}};
    const Value::Dictionary withMore {{"read", true}, {"title", "a"}, {"more", Value::Array {1, "b"}}};
    const std::string inboxes[] {
        "",
        "<plist><array><dict><key>read</key><true/><key>title</key><string>a</string></dict></array></plist>",
        encoded(Value::Array {}),
        encoded(record),
        encoded(Value::Array {record, record, withMore}),
        encoded(Value::Array {record, Value::Dictionary {{"title", "a"}}}),
        encoded(Value::Array {record, Value::Dictionary {{"read", 1}}}),
        encoded(Value::Array {record, Value::Dictionary {{"read", true}, {"ação", "a"}}}),
        encoded(Value::Array {record, "a"}),
    };
    for (const auto& bytes : inboxes)
        EXPECT_EQ(decoded(bytes), generallyDecoded(bytes)) << bytes;

    // Every byte of a list damaged in several ways: references go astray, kinds and lengths change, texts break.
    auto bytes = encoded(Value::Array {record, Value::Dictionary {{"read", false}, {"att", "語"}}, record});
    for (auto& byte : bytes) {
        const auto whole = byte;
        for (int value = 0; value < 256; ++value) {
            byte = static_cast<char>(value);
            ASSERT_EQ(decoded(bytes), generallyDecoded(bytes)) << "byte " << &byte - bytes.data() << " = " << value;
        }
        byte = whole;
    }
}

// Records that share one large text: each of them gets a copy.
TEST(InboxCoderTest, RefusesListsThatUnfoldToTooMuch)
{
    constexpr std::size_t count = 200;
    constexpr std::size_t length = 1 << 20;
    std::string bytes {"bplist00"};
    std::vector<std::size_t> offsets;
    const auto begin = [&] { offsets.push_back(bytes.size()); };
    begin();
    bytes += "\x5F\x12";
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(length >> shift);
    bytes.append(length, 'a');
    begin();
    bytes += "\x55title";
    begin();
    bytes += "\x54read";
    begin();
    bytes += '\x09';
    begin();
    bytes += "\xD2\x01\x02";
    bytes += std::string_view {"\x00\x03", 2};
    begin();
    bytes += "\xAF\x10";
    bytes += static_cast<char>(count);
    bytes.append(count, '\x04');
    const auto table = bytes.size();
    const auto append = [&](std::uint64_t number, int size) {
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
            bytes += static_cast<char>(number >> shift);
    };
    for (const auto offset : offsets)
        append(offset, 4);
    bytes.append(6, '\0');
    append(4, 1);
    append(1, 1);
    append(offsets.size(), 8);
    append(5, 8);
    append(table, 8);
    EXPECT_EQ(PropertyListDecoder::decode(bytes).error(), make_error_code(PropertyListError::tooComplex));
    EXPECT_FALSE(InboxCoder::decode(bytes));
    // As many as are allowed are read.
    const auto shared = bytes.find("\xAF\x10");
    bytes[shared + 2] = 50;
    EXPECT_EQ(InboxCoder::decode(bytes).value_or(Records {}).size(), 50U);
}

} // namespace
} // namespace kova
