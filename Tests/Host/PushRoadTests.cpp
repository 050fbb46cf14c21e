// The road of a push through real processes: kova-host, the collector, the store on disk.

#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Tests/Host/HostRun.h"
#include "Tests/Support/Collector.h"
#include "Tests/Support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;

const std::string inbox = "{\"do\":\"inbox\"}\n";

// The log without the two lines that a metric's reply prints, which come from the session's thread at any moment.
std::vector<std::string> withoutReplies(const std::vector<std::string>& log)
{
    std::vector<std::string> lines;
    std::ranges::copy_if(log, std::back_inserter(lines), [](const auto& line) {
        return !line.starts_with("Result") && line != "success" && !line.starts_with("failure(");
    });
    return lines;
}

TEST(PushRoadTest, EveryPayloadIsStoredReportedAndReadBack)
{
    Collector collector;
    HostFolder folder;
    folder.services = "http://127.0.0.1:" + std::to_string(collector.port());
    std::string script = start + "{\"do\":\"subscribe\",\"userId\":\"player\"}\n";
    std::vector<std::string> ids;
    std::vector<std::filesystem::path> files {
        std::filesystem::directory_iterator {KOVA_PAYLOADS_DIR}, std::filesystem::directory_iterator {}};
    ASSERT_EQ(files.size(), 14U);
    for (const auto& file : files) {
        const auto payload = JSONSerialization::jsonObject(Data::contentsOf(file, 1 << 20)->text());
        ASSERT_TRUE(payload) << file;
        script += push(*payload->as<Dictionary>());
        const auto* vendor = payload->find("custom") ? payload->find("custom") : payload->find("os_data");
        ids.push_back(*vendor->find<std::string>("i"));
    }
    const auto result = folder.run(script + settle + inbox);
    ASSERT_EQ(result.end, success) << result.errors;

    // Log: the lines of each push in order; two lines more for each reply.
    const auto log = withoutReplies(result.log);
    ASSERT_EQ(log.size(), 2 + 4 * ids.size());
    EXPECT_EQ(log[0], "NOTIFICATIONS : Initialized with callbacks");
    EXPECT_EQ(log[1], "APP ID: 0b1e5a52-demo-push-application");
    std::string stored;
    for (std::size_t index = 0; index < ids.size(); ++index) {
        const auto* lines = &log[2 + 4 * index];
        EXPECT_EQ(lines[0], "Notification received: : Optional(<OSNotification: " + ids[index] + ">)");
        EXPECT_EQ(lines[1], "NOTIFICATIONS : Received Notification ID: Optional(\"" + ids[index] + "\")");
        EXPECT_EQ(lines[2], "Callbacking push metrics");
        const std::string beginning
            = "Notification from storage : [KovaSDK.KovaNotification(notificationID: Optional(\"" + ids[index]
            + "\"), ";
        EXPECT_EQ(lines[3].substr(0, beginning.size()), beginning);
        EXPECT_TRUE(lines[3].ends_with(stored + "]")) << "the earlier records follow, unchanged";
        stored = lines[3].substr(std::string {"Notification from storage : ["}.size());
        stored.pop_back();
    }
    EXPECT_EQ(result.count("success"), ids.size());

    // Metrics, as the server got them.
    const auto requests = collector.requests();
    ASSERT_EQ(requests.size(), ids.size());
    std::vector<std::string> reported;
    for (const auto& request : requests) {
        EXPECT_EQ(request.method, "POST");
        EXPECT_EQ(request.path, "/v2/6a1f0c3e9b7d2e4f80a1c5d3");
        EXPECT_EQ(*request.header("Content-Type"), "application/json");
        const auto body = JSONSerialization::jsonObject(request.body);
        ASSERT_TRUE(body) << request.body;
        EXPECT_EQ(body->as<Dictionary>()->size(), 4U);
        EXPECT_EQ(*body->find<std::string>("playerId"), "player");
        EXPECT_EQ(*body->find<std::string>("metric"), "delivery");
        reported.push_back(*body->find<std::string>("notificationId"));
    }
    EXPECT_THAT(reported, testing::UnorderedElementsAreArray(ids));

    // The inbox: newest first, the same in another process.
    std::ranges::reverse(ids);
    EXPECT_EQ(folder.inboxIds(), ids);
    EXPECT_EQ(*result.answers.back().find<std::int64_t>("unread"), static_cast<std::int64_t>(ids.size()));
}

TEST(PushRoadTest, AServerThatMisbehavesChangesNothingElse)
{
    const auto script = start + pushWithId("a") + pushWithId("b") + "{\"do\":\"settle\",\"seconds\":30}\n";
    HostFolder reference;
    const auto expected = reference.run(script);
    ASSERT_EQ(expected.end, success) << "refused connections: " << expected.errors;
    EXPECT_EQ(withoutReplies(expected.log), expected.log) << "a transport error prints nothing";

    struct Row {
        const char* name;
        Reply reply;
        std::vector<std::string> printed;
    };
    const Row rows[] {
        {"500", Reply::status(500, "busy"), {"ResultOptional(\"busy\")", "failure(authentication)"}},
        {"503", Reply::status(503, "\xFF"), {"Resultnil", "failure(badRequest)"}},
        {"redirect", Reply::status(302, "", {{"Location", "/elsewhere"}}), {"ResultOptional(\"\")", "failure(failed)"}},
        {"reset", Reply::reset(), {}},
        {"closed", Reply::close(), {}},
        {"garbage", Reply::raw("\x16\x03\x01 no HTTP at all\r\n\r\n"), {}},
        {"half a reply", Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf"), {}},
        {"time-out", Reply::never(), {}},
    };
    for (const auto& row : rows) {
        LoopbackServer server;
        server.setDefault(row.reply);
        HostFolder folder;
        folder.services = "http://127.0.0.1:" + std::to_string(server.port());
        const auto result = folder.run(script);
        EXPECT_EQ(result.end, success) << row.name << ": " << result.errors;
        EXPECT_EQ(withoutReplies(result.log), expected.log) << row.name;
        for (const auto& line : row.printed)
            EXPECT_EQ(result.count(line), 2U) << row.name << ": " << line;
        EXPECT_EQ(result.log.size(), expected.log.size() + 2 * row.printed.size()) << row.name;
        EXPECT_EQ(server.requests().size(), 2U) << row.name << ": nothing is retried or redirected";
        EXPECT_THAT(folder.inboxIds(), ElementsAre("b", "a")) << row.name;
    }
}

TEST(PushRoadTest, APushThatWasLoggedSurvivesAKill)
{
    std::string script = start;
    for (int number = 1; number <= 500; ++number)
        script += pushWithId("p" + std::to_string(number));
    std::mt19937 random {std::random_device {}()};
    for (int kill = 0; kill < 50; ++kill) {
        HostFolder folder;
        const auto host = folder.start(script);
        const auto logged = 1 + random() % 60;
        for (unsigned line = 0; line < logged; ++line)
            ASSERT_TRUE(host->waitForOutputLine("Notification from storage :"));
        host->signal(SIGKILL);
        const auto result = folder.finish(*host);
        const auto acknowledged = static_cast<std::size_t>(std::ranges::count_if(
            result.log, [](const auto& line) { return line.starts_with("Notification from storage :"); }));
        const auto ids = folder.inboxIds();
        ASSERT_GE(ids.size(), acknowledged);
        for (std::size_t index = 0; index < ids.size(); ++index)
            ASSERT_EQ(ids[index], "p" + std::to_string(ids.size() - index));
    }
}

TEST(PushRoadTest, TwoProcessesSeeEachOthersPushes)
{
    HostFolder folder;
    const auto writer = folder.start();
    writer->writeInput(start);
    std::size_t pushed = 0;
    std::vector<std::string> expected;
    for (int round = 0; round < 8; ++round) {
        for (int number = 0; number < 5; ++number) {
            const auto id = "p" + std::to_string(++pushed);
            expected.insert(expected.begin(), id);
            writer->writeInput(pushWithId(id));
            ASSERT_TRUE(writer->waitForOutputLine("Notification from storage :"));
        }
        // A second process adds one push to what the first has stored, which the first then builds upon.
        const auto id = "q" + std::to_string(round);
        HostFolder unused;
        ASSERT_EQ(folder.run(start + pushWithId(id)).end, success);
        expected.insert(expected.begin(), id);
        ASSERT_EQ(folder.inboxIds(), expected);
    }
    writer->closeInput();
    EXPECT_EQ(writer->wait(), success);
}

TEST(PushRoadTest, PythonReadsTheInboxAndWritesOneThatIsReadBack)
{
    HostFolder folder;
    const auto file = (folder.path() / "inbox.plist").string();
    const auto command = [&](const char* name) {
        return std::string {"{\"do\":\""} + name + R"(","key":"kova_notification","file":")" + file + "\"}\n";
    };
    const auto python = [&](const std::string& program) {
        Process process {{.executable = "/usr/bin/python3",
            .arguments = {"-c", "import plistlib\nfile = '" + file + "'\n" + program}}};
        EXPECT_EQ(process.wait(), success) << process.standardError();
        return process.standardOutput();
    };
    ASSERT_EQ(folder.run(start + pushWithId("pão ☕️") + pushWithId("b") + command("defaults-get")).end, success);
    EXPECT_EQ(python("data = open(file, 'rb').read()\n"
                     "assert data.startswith(b'bplist00')\n"
                     "print([sorted(record.items()) for record in plistlib.loads(data)])"),
        "[[('att', ''), ('body', 'Olá'), ('launchURL', ''), ('notificationID', 'b'), ('read', False), ('subtitle', "
        "'')], "
        "[('att', ''), ('body', 'Olá'), ('launchURL', ''), ('notificationID', 'pão ☕️'), ('read', False), ('subtitle', "
        "'')]]\n");

    for (const auto* format : {"FMT_BINARY", "FMT_XML"}) {
        python(std::string {"record = {'notificationID': 'é 🎉', 'title': 't' * 40, 'read': True}\n"
                            "plistlib.dump([record, {'notificationID': 'z', 'read': False}, record], open(file, 'wb'), "
                            "fmt=plistlib."}
            + format + ")");
        const auto result = folder.run(command("defaults-set") + inbox);
        ASSERT_EQ(result.end, success) << result.errors;
        EXPECT_EQ(*result.answers.back().find<std::int64_t>("unread"), 1) << format;
        EXPECT_THAT(folder.inboxIds(), ElementsAre("é 🎉", "z", "é 🎉")) << format;
    }
}

TEST(PushRoadTest, ADamagedStoreIsSetAsideAndTheHostGoesOn)
{
    HostFolder folder;
    ASSERT_EQ(folder.run(start + pushWithId("a")).end, success);
    const auto store = folder.path() / "data" / "kova-host";
    std::ofstream {store / "defaults.sqlite", std::ios::trunc} << "this is no database, whatever its name says";
    const auto result = folder.run(start + pushWithId("b"));
    EXPECT_EQ(result.end, success);
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
    EXPECT_NE(result.errors.find("damaged"), std::string::npos) << result.errors;
    EXPECT_THAT(folder.inboxIds(), ElementsAre("b"));
    const auto aside = std::ranges::count_if(std::filesystem::directory_iterator {store},
        [](const auto& entry) { return entry.path().filename().string().starts_with("defaults.sqlite.damaged-"); });
    EXPECT_GE(aside, 1);
}

TEST(PushRoadTest, ContractStopsTheProcessByAbort)
{
    const std::string tap = R"({"do":"open","payload":{"custom":{"i":"a","a":{"k":1}}}})";
    HostFolder folder;
    const auto result = folder.run(start + tap + "\n" + inbox);
    EXPECT_EQ(result.end, ProcessEnd {.signal = SIGABRT});
    EXPECT_NE(result.errors.find("actionSelected"), std::string::npos) << result.errors;
    EXPECT_TRUE(result.answers.empty());

    HostFolder misaddressed;
    misaddressed.services = "not a URL";
    EXPECT_EQ(misaddressed.run(start + pushWithId("a")).end, ProcessEnd {.signal = SIGABRT});
}

} // namespace
} // namespace kova::tests
