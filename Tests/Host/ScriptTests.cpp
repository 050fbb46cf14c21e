// What kova-host makes of scripts, right and wrong ones.

#include "Tests/Host/HostRun.h"
#include "Tests/Support/FileDescriptor.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/Waiting.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <optional>

namespace kova::tests {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(ScriptTest, AnswersEveryCommand)
{
    HostFolder folder;
    const auto result = folder.run(R"(# a comment

{"do":"start","launchOptions":{"url":"x"}}
{"do":"config"}
{"do":"player-id"}
{"do":"subscribe","userId":"p\u00e3o"}
{"do":"player-id"}
{"do":"subscribe","userId":null}
{"do":"player-id"}
{"do":"tag","key":"a","value":"1"}
{"do":"tag","key":"a","value":null}
{"do":"tag","key":null,"value":"1"}
{"do":"prompt","accepted":true}
{"do":"prompt","accepted":false}
{"do":"extension","payload":{"custom":{"i":"a"},"aps":{"alert":{"title":"T"}},"att":{"id":"http://a/b.jpg"}}}
{"do":"inbox"}
{"do":"defaults-get","key":"kova_notification","file":"/nowhere/at/all"}
{"do":"settle","seconds":5}
   )");
    EXPECT_EQ(result.end, success) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto playerId = [](const Value& id) { return Value {Dictionary {{"player-id", id}}}; };
    const auto tags = [](Dictionary all) { return Value {Dictionary {{"tag", std::move(all)}}}; };
    EXPECT_THAT(result.answers,
        ElementsAre(Dictionary {{"config",
                        Dictionary {{"geoID", "demo-geofencing-token"}, {"audienceID", "demo-audience"},
                            {"notificationID", "0b1e5a52-demo-push-application"}, {"apiKey", "demo-api-key"}}}},
            playerId({}), playerId("pão"), playerId({}), tags({{"a", "1"}}), tags({{"a", Value {}}}),
            tags({{"a", Value {}}}), Dictionary {{"prompt", true}}, Dictionary {{"prompt", false}},
            Dictionary {{"extension",
                Dictionary {
                    {"title", "T"}, {"subtitle", ""}, {"body", ""}, {"attachments", Value::Array {"http://a/b.jpg"}}}}},
            Dictionary {{"inbox", Value::Array {}}, {"unread", 0}},
            Dictionary {{"defaults-get", "kova_notification"}, {"bytes", Value {}}}));
}

TEST(ScriptTest, AWrongLineIsSaidWithItsPlaceAndEndsTheScript)
{
    const std::string centre = command("centre", R"("action":"open")");
    const std::pair<std::string, const char*> rows[] {
        {"nonsense", "not a JSON object"},
        {"{}", "\"do\" is missing"},
        {R"({"do":5})", "\"do\" must be a text"},
        {R"({"do":"fly\n"})", "unknown command \"fly\\n\""},
        {R"({"do":"push"})", "\"payload\" is missing"},
        {R"({"do":"prompt","accepted":1})", "\"accepted\" must be true or false"},
        {R"({"do":"subscribe","userId":7})", "\"userId\" must be a text or null"},
        {R"({"do":"settle","seconds":"1"})", "\"seconds\" must be a number"},
        {R"({"do":"settle","seconds":-1})", "\"seconds\" must be between"},
        {R"({"do":"start","launchOptions":[]})", "\"launchOptions\" must be an object"},
        {R"({"do":"defaults-set","key":"a","file":"/nowhere/at/all"})", "cannot read /nowhere/at/all"},
        {R"({"do":"event","kind":"Event","type":"search"})",
            "unknown kind \"Event\", not one of ButtonEvent, CartEvent, "},
        {R"({"do":"event","kind":"SearchEvent","type":"Search"})",
            "unknown type \"Search\", not one of button_click, "},
        {R"({"do":"event","kind":"SearchEvent","type":"search","metrics":{"a":"b"}})", "must be a number"},
        {R"({"do":"event","kind":"SearchEvent","type":"search","attributes":{"a":1}})", "must be a text"},
        {R"({"do":"network","status":"5g"})", "\"wifi\", \"wwan\" or \"offline\""},
        {R"({"do":"geotriggers","geotriggers":{}})", "\"geotriggers\" must be a list"},
        {R"({"do":"geotriggers","geotriggers":[{"userInfo":7}]})", "\"userInfo\" must be an object or null"},
        {R"({"do":"geotriggers","geotriggers":[{"userInfo":{},"data":7}]})", "no \"data\" beside it"},
        {R"({"do":"select","row":0})", "select: the list is not on top of the screen"},
        {centre + R"({"do":"select","row":0})", "select: there is no row 0, the list has 0"},
        {centre + R"({"do":"select","row":"0"})", "select: the field \"row\" must be a whole number"},
        {centre + R"({"do":"centre","action":"open"})", "centre: the centre is open already"},
        {R"({"do":"restyle","property":"navcolor","rgba":[0,0,0,1]})", "there is no property \"navcolor\", but "},
        {R"({"do":"restyle","property":"navColor","rgba":[0,0,1]})", "must be a list of 4 numbers"},
        {R"({"do":"restyle","property":"navColor","rgba":[0,0,0,255]})", "must be four numbers from 0 to 1"},
        {R"({"do":"badge","action":"set"})", "must be \"add\", \"update\" or \"remove\""},
        {R"({"do":"size","width":0,"height":100})", "the field \"width\" must be between 1 and 100000 points"},
    };
    for (const auto& [lines, message] : rows) {
        HostFolder folder;
        const auto result = folder.run("# first\n\n" + start + lines + "\n" + inbox);
        EXPECT_EQ(result.end, ProcessEnd {.exitStatus = 2}) << lines;
        const auto line = std::to_string(4 + std::ranges::count(lines, '\n'));
        EXPECT_TRUE(result.errors.starts_with((folder.path() / "script").string() + ":" + line + ": "))
            << result.errors;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
        EXPECT_TRUE(result.answers.empty()) << lines;
    }
    HostFolder real;
    real.network = "real";
    EXPECT_EQ(real.run(switchNetwork("wifi")).end, ProcessEnd {.exitStatus = 2});
}

TEST(ScriptTest, WhatTheContractForbidsStopsTheProcess)
{
    const std::pair<std::string, const char*> rows[] {
        {start + command("open", R"("payload":{"custom":{"i":"a","a":{"k":1}}})"), "actionSelected"},
        {saveEvent("early"), "start the SDK"},
        {start + switchNetwork("wifi") + saveEvent("misaddressed"), "not a URL"},
    };
    for (const auto& [script, message] : rows) {
        HostFolder folder;
        folder.services = "not a URL";
        const auto result = folder.run(script + inbox);
        EXPECT_EQ(result.end, ProcessEnd {.signal = SIGABRT}) << message;
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_TRUE(result.answers.empty()) << message;
    }
}

TEST(ScriptTest, ReadsStandardInputLineByLineAndEndsOnSignals)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        HostFolder folder;
        const auto host = folder.start();
        host->writeInput(start);
        ASSERT_TRUE(host->waitForOutputLine("APP ID: "));
        host->signal(signal);
        const auto result = folder.finish(*host);
        EXPECT_EQ(result.end, success) << result.errors;
    }
}

TEST(ScriptTest, EndsWhereNobodyCanReadWhatItWrites)
{
    HostFolder full;
    full.options = {"--answers", "/dev/full"};
    const auto unanswered = full.run(start + command("prompt", R"("accepted":true)") + inbox);
    EXPECT_EQ(unanswered.end, ProcessEnd {.exitStatus = 2});
    EXPECT_NE(unanswered.errors.find("script:2: the answer cannot be written"), std::string::npos) << unanswered.errors;

    // Without standard streams; whatever is opened must not take their places, where the log is written.
    LoopbackServer server;
    server.setDefault(Reply::status(200));
    HostFolder closed {server.port()};
    closed.launcher = {"/bin/sh", "-c", R"(exec "$0" "$@" <&- >&- 2>&-)"};
    std::string script = start;
    for (int number = 0; number < 40; ++number)
        script += pushWithId("a");
    EXPECT_EQ(closed.run(script).end, success);
    closed.launcher.clear();
    EXPECT_EQ(closed.inboxIds().size(), 40U);
}

TEST(ScriptTest, RequestsInFlightEndWithTheHost)
{
    LoopbackServer server;
    server.setDefault(Reply::never());
    const auto script = start + pushWithId("a");
    HostFolder folder {server.port()};
    const auto unsettled = folder.run(script + command("settle", R"("seconds":0)") + inbox);
    EXPECT_EQ(unsettled.end, ProcessEnd {.exitStatus = 3});
    EXPECT_NE(unsettled.errors.find("script:3: "), std::string::npos) << unsettled.errors;
    EXPECT_TRUE(unsettled.answers.empty());

    HostFolder interrupted {server.port()};
    const auto host = interrupted.start(script + command("settle", R"("seconds":60)"));
    ASSERT_TRUE(host->waitForOutputLine("Notification from storage :"));
    host->signal(SIGTERM);
    EXPECT_EQ(interrupted.finish(*host).end, success);
    EXPECT_THAT(interrupted.inboxIds(), ElementsAre("a"));
}

TEST(ScriptTest, OnATerminalItIsSaidWhatTakesLong)
{
    LoopbackServer server;
    server.setDefault(Reply::never());
    HostFolder folder {server.port()};
    EXPECT_EQ(folder.run("").end, success);
    std::optional<FileDescriptor> lock {
        std::in_place, open((folder.path() / "data/kova-host/defaults.lock").c_str(), O_RDWR | O_CLOEXEC), "open"};
    ASSERT_EQ(flock(lock->get(), LOCK_EX), 0);

    const FileDescriptor terminal {posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), "posix_openpt"};
    ASSERT_EQ(grantpt(terminal.get()), 0);
    ASSERT_EQ(unlockpt(terminal.get()), 0);
    std::string seen;
    const auto hasSaid = [&](std::string_view line) {
        std::array<char, 1024> bytes {};
        for (auto count = read(terminal.get(), bytes.data(), bytes.size()); count > 0;
            count = read(terminal.get(), bytes.data(), bytes.size()))
            seen.append(bytes.data(), static_cast<std::size_t>(count));
        return seen.contains(line);
    };
    folder.launcher = {"/bin/sh", "-c", std::string {R"(exec "$0" "$@" 2>)"} + ptsname(terminal.get())};
    const auto host = folder.start(start + pushWithId("a") + command("settle", R"("seconds":60)"));
    EXPECT_TRUE(comesTrue([&] { return hasSaid("kova-host: opening the store: 1 s so far"); })) << seen;
    lock.reset();
    EXPECT_TRUE(comesTrue([&] { return hasSaid("kova-host: settle: 2 s so far"); })) << seen;
    host->signal(SIGTERM);
    EXPECT_EQ(folder.finish(*host).end, success);
}

TEST(ScriptTest, TheCommandLineIsChecked)
{
    const std::vector<std::string> enough {"--data", "a", "--bundle", "b"};
    const std::pair<std::vector<std::string>, const char*> rows[] {
        {{"--wings", "c"}, "unknown option --wings"},
        {{"-xy"}, "unknown option -x"},
        {{"--window=yes"}, "--window takes no value"},
        {{"--p"}, "--p is ambiguous: --payloads or --pause"},
        {{"doctor"}, "\"doctor\" stands first"},
        {{"--window", "--screenshot", "/dev/null"}, "cannot make the folder /dev/null: "},
        {{"--window", "--payloads", "/nowhere/at/all"}, "cannot read the folder /nowhere/at/all: "},
        {{"--network", "paper"}, "--network is"},
        {{"--screenshot", "/tmp"}, "--screenshot needs --window"},
        {{"--pause", "61"}, "--pause takes a number of seconds from 0 to 60"},
        {{"--pause", "soon"}, "--pause takes a number of seconds from 0 to 60"},
        {{"--answers"}, "--answers needs a value"},
        {{"--answers", "/nowhere/at/all"}, "/nowhere/at/all"},
        {{"one", "two"}, "one script at most"},
        {{"/nowhere/at/all"}, "/nowhere/at/all"},
        {{"--timeout", "5"}, "--timeout is for kova-host doctor only"},
    };
    const auto refusal = [](const std::vector<std::string>& arguments) {
        Process host {{.executable = std::filesystem::path {KOVA_BIN_DIR} / "kova-host", .arguments = arguments}};
        EXPECT_EQ(host.wait(), (ProcessEnd {.exitStatus = 2})) << testing::PrintToString(arguments);
        EXPECT_TRUE(host.standardError().starts_with("kova-host: ")) << host.standardError();
        return host.standardError();
    };
    Process unwritten {{.executable = "/bin/sh", .arguments = {"-c", KOVA_BIN_DIR "/kova-host --help >/dev/full"}}};
    EXPECT_EQ(unwritten.wait(), (ProcessEnd {.exitStatus = 1}));
    EXPECT_THAT(refusal({}), HasSubstr("--data is missing"));
    EXPECT_THAT(refusal({"--data", "a"}), HasSubstr("--bundle is missing"));
    for (const auto& [more, message] : rows) {
        auto arguments = enough;
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_THAT(refusal(arguments), HasSubstr(message));
    }
}

} // namespace
} // namespace kova::tests
