// The road of an event through real processes: a day online and offline, and a host that is killed.

#include "Platform/Foundation/JSONSerialization.h"
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

const std::string buffer = "{\"do\":\"buffer\"}\n";

std::string event(const std::string& text)
{
    return R"({"do":"event","kind":"SearchEvent","type":"search","text":")" + text + "\"}\n";
}

std::string network(const std::string& status)
{
    return R"({"do":"network","status":")" + status + "\"}\n";
}

// The text that an event was started with, from its body.
std::string keywords(const std::string& body)
{
    const auto value = JSONSerialization::jsonObject(body);
    const auto* attributes = value ? value->find("attributes") : nullptr;
    const auto* text = attributes ? attributes->find<std::string>("keywords") : nullptr;
    return text ? *text : "not whole: " + body;
}

std::vector<std::string> bufferedKeywords(const Value& answer)
{
    std::vector<std::string> texts;
    const auto* bodies = answer.find<Value::Array>("buffer");
    for (const auto& body : bodies ? *bodies : Value::Array {})
        texts.push_back(keywords(*body.as<std::string>()));
    return texts;
}

TEST(EventHostTest, ADayOnlineAndOffline)
{
    Collector collector;
    HostFolder folder;
    folder.services = "http://127.0.0.1:" + std::to_string(collector.port());
    const auto result = folder.run(start + "{\"do\":\"status\"}\n" + network("wifi") + settle + "{\"do\":\"status\"}\n"
        + event("online") + network("offline") + settle + event("one") + event("two") + event("three") + buffer
        + network("wwan") + settle + buffer
        + R"({"do":"event","kind":"CartEvent","type":"cart_add_product","metrics":{"price":"nan"}})" + "\n");
    ASSERT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(result.answers.front(), (Value {Dictionary {{"status", "unreachable"}}}));
    EXPECT_EQ(result.answers.at(1), (Value {Dictionary {{"status", "wifi"}}}));
    EXPECT_THAT(bufferedKeywords(result.answers.at(6)), ElementsAre("one", "two", "three"));
    EXPECT_THAT(bufferedKeywords(result.answers.at(7)), ElementsAre());
    EXPECT_EQ(result.answers.at(8), (Value {Dictionary {{"saved", false}, {"error", "eventCantBeTransformedInJson"}}}));

    std::vector<std::string> arrived;
    for (const auto& request : collector.requests())
        arrived.push_back(keywords(request.body));
    EXPECT_THAT(arrived, ElementsAre("online", "one", "one", "one"))
        << "a release sends its first body once for each that waits";
    EXPECT_EQ(result.count("Event Save: Send data to buffer array"), 3U);
    EXPECT_EQ(result.count("NETWORK : Status: wifi"), 1U);
    EXPECT_EQ(result.count("NETWORK : Status: unreachable"), 1U);
    EXPECT_EQ(result.count("NETWORK : Status: wwan"), 1U);
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
            script += event(std::to_string(number));
        const auto host = folder.start(script);
        const auto seen = 1 + random() % 2'000;
        for (unsigned line = 0; line < seen && host->waitForOutputLine("Event Save: "); ++line) { }
        host->signal(SIGKILL);
        const auto killed = folder.finish(*host);
        const auto answered = kept + killed.answers.size();

        const auto after = folder.run(buffer);
        ASSERT_EQ(after.end, success) << after.errors;
        const auto texts = bufferedKeywords(after.answers.back());
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

TEST(EventHostTest, SavingBeforeTheStartStopsTheProcess)
{
    HostFolder folder;
    const auto result = folder.run(event("early"));
    EXPECT_EQ(result.end, ProcessEnd {.signal = SIGABRT});
    EXPECT_NE(result.errors.find("start the SDK"), std::string::npos) << result.errors;
}

TEST(EventHostTest, CommandsAreChecked)
{
    const std::pair<std::string, const char*> rows[] {
        {R"({"do":"event","kind":"Event","type":"search"})", "unknown kind"},
        {R"({"do":"event","kind":"SearchEvent","type":"Search"})", "unknown type"},
        {R"({"do":"event","kind":"SearchEvent","type":"search","metrics":{"a":"b"}})", "must be a number"},
        {R"({"do":"event","kind":"SearchEvent","type":"search","attributes":{"a":1}})", "must be a text"},
        {R"({"do":"network","status":"5g"})", "\"wifi\", \"wwan\" or \"offline\""},
    };
    for (const auto& [line, message] : rows) {
        HostFolder folder;
        const auto result = folder.run(start + line + "\n" + buffer);
        EXPECT_EQ(result.end, ProcessEnd {.exitStatus = 2}) << line;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_TRUE(result.answers.empty());
    }
    HostFolder real;
    real.network = "real";
    EXPECT_EQ(real.run(network("wifi")).end, ProcessEnd {.exitStatus = 2});
}

} // namespace
} // namespace kova::tests
