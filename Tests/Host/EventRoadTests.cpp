// The road of an event through real processes: a day online and offline, and a host that is killed.

#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <random>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;

std::vector<std::string> bufferedTexts(const Value& answer)
{
    std::vector<std::string> texts;
    const auto* bodies = answer.find<Value::Array>("buffer");
    for (const auto& body : bodies ? *bodies : Value::Array {})
        texts.push_back(savedText(body));
    return texts;
}

TEST(EventHostTest, ADayOnlineAndOffline)
{
    Collector collector;
    HostFolder folder {collector.port()};
    const auto status = command("status");
    const auto result = folder.run(start + status + switchNetwork("wifi") + settle + status + saveEvent("online")
        + switchNetwork("offline") + settle + saveEvent("one") + saveEvent("two") + saveEvent("three") + buffer
        + switchNetwork("wwan") + settle + buffer
        + command("event", R"("kind":"CartEvent","type":"cart_add_product","metrics":{"price":"nan"})"));
    ASSERT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(result.answers.front(), (Value {Dictionary {{"status", "unreachable"}}}));
    EXPECT_EQ(result.answers.at(1), (Value {Dictionary {{"status", "wifi"}}}));
    EXPECT_THAT(bufferedTexts(result.answers.at(6)), ElementsAre("one", "two", "three"));
    EXPECT_THAT(bufferedTexts(result.answers.at(7)), ElementsAre());
    EXPECT_EQ(result.answers.at(8), (Value {Dictionary {{"saved", false}, {"error", "eventCantBeTransformedInJson"}}}));

    std::vector<std::string> arrived;
    for (const auto& request : collector.requests())
        arrived.push_back(savedText(request.body));
    EXPECT_THAT(arrived, ElementsAre("online", "one", "one", "one"))
        << "a release sends its first body once for each that waits";
    EXPECT_EQ(result.count("Event Save: Send data to buffer array"), 3U);
    for (const auto* reported : {"wifi", "unreachable", "wwan"})
        EXPECT_EQ(result.count(std::string {"NETWORK : Status: "} + reported), 1U) << reported;
    EXPECT_EQ(result.count("EVENT STORAGE: removed event from buffer"), 3U);
}

// One buffer that grows to ten thousand events over many lives of the host, each but the last ended at a random moment.
TEST(EventHostTest, AnEventWhoseSaveReturnedSurvivesAKill)
{
    constexpr std::size_t all = 10'000;
    const HostFolder folder;
    std::mt19937 random {std::random_device {}()};
    std::size_t kept = 0;
    std::vector<std::size_t> kills;
    while (kept < all) {
        std::string script = start;
        for (auto number = kept + 1; number <= all; ++number)
            script += saveEvent(std::to_string(number));
        const auto host = folder.start(script);
        const auto seen = 1 + random() % 2'000;
        for (unsigned line = 0; line < seen && host->waitForOutputLine("Event Save: "); ++line) { }
        host->signal(SIGKILL);
        const auto killed = folder.finish(*host);
        const auto answered = kept + killed.answers.size();

        const auto after = folder.run(buffer);
        ASSERT_EQ(after.end, success) << after.errors;
        const auto texts = bufferedTexts(after.answers.back());
        for (std::size_t index = 0; index < texts.size(); ++index)
            ASSERT_EQ(texts[index], std::to_string(index + 1)) << "after a kill with " << answered << " answered";
        ASSERT_GE(texts.size(), answered);
        ASSERT_LE(texts.size(), answered + 1) << "at most one save was under way";
        if (killed.end == ProcessEnd {.signal = SIGKILL})
            kills.push_back(texts.size());
        kept = texts.size();
    }
    EXPECT_GE(kills.size(), 3U) << testing::PrintToString(kills);
    RecordProperty("kills", testing::PrintToString(kills));
}

} // namespace
} // namespace kova::tests
