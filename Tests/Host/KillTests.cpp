// A host that is killed again and again while it saves, receives pushes and releases its buffer.
//
// KOVA_TEST_KILLS says how often.

#include "Platform/Libraries/SQLiteDatabase.h"
#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"
#include "Tests/Support/Numbered.h"

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
    for (int round = 0; round < rounds; ++round) {
        script += switchNetwork("offline");
        for (int number = 0; number < 3; ++number)
            script += saveEvent(std::to_string(firstEvent++));
        script += pushWithId(numbered("p", firstPush++));
        script += switchNetwork("wifi");
        script += pushWithId(numbered("p", firstPush++));
        script += saveEvent(std::to_string(firstEvent++)) + settle;
    }
    return script;
}

TEST(KillTest, SavePushAndReleaseSurviveKillsWhole)
{
    const auto* wanted = std::getenv("KOVA_TEST_KILLS");
    const auto kills = wanted ? std::strtoul(wanted, nullptr, 10) : 12;
    Collector collector;
    HostFolder folder {collector.port()};
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

        const auto after = folder.run(buffer);
        ASSERT_EQ(after.end, success);
        ASSERT_EQ(after.errors, "");
        int last = 0;
        for (const auto& body : *after.answers.back().find<Value::Array>("buffer")) {
            const auto number = std::atoi(savedText(body).c_str());
            ASSERT_GT(number, std::exchange(last, number)) << savedText(body);
            ++buffered;
        }
        const auto ids = folder.inboxIds();
        ASSERT_GE(ids.size(), pushes) << "a push that was logged is there";
        ASSERT_LE(ids.size(), pushes + 1);
        for (std::size_t index = 0; index < ids.size(); ++index)
            ASSERT_EQ(ids[index], numbered("p", ids.size() - index));
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
