// A host that is killed again and again while it saves, receives pushes and releases its buffer.
//
// KOVA_TEST_KILLS says how often.

#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Libraries/SQLiteDatabase.h"
#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <random>

namespace kova::tests {
namespace {

// Offline saves, the release of what they left, pushes and online saves, for longer than the host lives.
std::string manyRounds(std::size_t firstPush, std::size_t firstEvent)
{
    constexpr int rounds = 40;
    std::string script = start;
    const auto save = [&] {
        script += R"({"do":"event","kind":"SearchEvent","type":"search","text":")" + std::to_string(firstEvent++)
            + "\"}\n";
    };
    for (int round = 0; round < rounds; ++round) {
        script += R"({"do":"network","status":"offline"})"
                  "\n";
        for (int number = 0; number < 3; ++number)
            save();
        script += pushWithId("p" + std::to_string(firstPush++));
        script += R"({"do":"network","status":"wifi"})"
                  "\n";
        script += pushWithId("p" + std::to_string(firstPush++));
        save();
        script += settle;
    }
    return script;
}

// The number that an event was started with; none when the body is not whole.
std::optional<int> eventNumber(const Value& body)
{
    const auto* text = body.as<std::string>();
    const auto value = JSONSerialization::jsonObject(text ? *text : "");
    const auto* attributes = value ? value->find("attributes") : nullptr;
    const auto* keywords = attributes ? attributes->find<std::string>("keywords") : nullptr;
    return keywords ? std::optional {std::stoi(*keywords)} : std::nullopt;
}

TEST(KillTest, SavePushAndReleaseSurviveKillsWhole)
{
    const auto* wanted = std::getenv("KOVA_TEST_KILLS");
    const auto kills = wanted ? std::strtoul(wanted, nullptr, 10) : 5;
    Collector collector;
    HostFolder folder;
    folder.services = "http://127.0.0.1:" + std::to_string(collector.port());
    const auto file = folder.path() / "data" / "kova-host" / "defaults.sqlite";
    std::mt19937 random {std::random_device {}()};
    std::size_t pushes = 0;
    std::size_t buffered = 0;
    for (std::size_t kill = 0; kill < kills; ++kill) {
        const auto host = folder.start(manyRounds(pushes + 1, 1'000 * (kill + 1)));
        const auto seen = random() % 9;
        for (unsigned line = 0; line < seen; ++line)
            ASSERT_TRUE(host->waitForOutputLine("Notification from storage :")) << host->standardError();
        // Somewhere in what comes next.
        constexpr const char* moments[] {
            "EVENT STORAGE: ", "Event Save: ", "Notification received: :", "NETWORK : ", ""};
        ASSERT_TRUE(host->waitForOutputLine(moments[random() % std::size(moments)]));
        host->signal(SIGKILL);
        const auto killed = folder.finish(*host);
        ASSERT_EQ(killed.end, ProcessEnd {.signal = SIGKILL}) << killed.errors;
        ASSERT_EQ(killed.errors, "");
        pushes += static_cast<std::size_t>(std::ranges::count_if(
            killed.log, [](const auto& line) { return line.starts_with("Notification from storage :"); }));

        const auto after = folder.run("{\"do\":\"buffer\"}\n");
        ASSERT_EQ(after.end, success);
        ASSERT_EQ(after.errors, "");
        int last = 0;
        for (const auto& body : *after.answers.back().find<Value::Array>("buffer")) {
            const auto number = eventNumber(body);
            ASSERT_TRUE(number);
            ASSERT_GT(*number, std::exchange(last, *number));
            ++buffered;
        }
        const auto ids = folder.inboxIds();
        ASSERT_GE(ids.size(), pushes) << "a push that was logged is there";
        ASSERT_LE(ids.size(), pushes + 1);
        for (std::size_t index = 0; index < ids.size(); ++index)
            ASSERT_EQ(ids[index], "p" + std::to_string(ids.size() - index));
        pushes = ids.size();

        SQLiteDatabase database {file, std::chrono::seconds {5}};
        auto integrity = database.prepare("PRAGMA integrity_check");
        ASSERT_TRUE(integrity.step());
        ASSERT_EQ(integrity.bytes(0), "ok");
    }
    EXPECT_GT(buffered, 0U) << "kills came while something waited";
    RecordProperty("kills", static_cast<int>(kills));
}

} // namespace
} // namespace kova::tests
