#include "KovaSDK/Geolocation/GeolocationServices/GeotriggerHandler.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TestPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace kova {
namespace {

using std::string_literals::operator""s;
using Dictionary = Value::Dictionary;
using List = PlotHandleGeotriggers::List;
using testing::ElementsAre;
using tests::geotrigger;
using tests::LoopbackServer;
using tests::RecordingBatch;
using tests::RecordingConfiguration;
using tests::TestPlatform;

const std::string entered = "GEOTRIGGER : Entered handler";
const std::string handled = "GEOTRIGGER : handled geotrigger";
const std::string initialized = "GEOTRIGGER : Geotrigger initialized 1";

// The parameterless initialiser takes no call from the one that there is.
static_assert(std::is_constructible_v<KovaGeotrigger, AnyDictionary>);
static_assert(std::is_constructible_v<KovaGeotrigger, std::optional<AnyDictionary>>);
static_assert(std::is_constructible_v<KovaGeotrigger, std::nullopt_t>);
static_assert(!std::is_copy_constructible_v<KovaGeotrigger> && !std::is_move_constructible_v<KovaGeotrigger>);

void addKeys(const TestPlatform& platform)
{
    platform.addResource("Kova.plist",
        PropertyListEncoder::encode(Dictionary {{"KovaGeolocationID", "token"}, {"KovaAPIKey", "the key"}})->text());
}

// A parser that yields one value after another.
GeotriggerParser yielding(std::vector<std::optional<Value>> values)
{
    return [values = std::move(values), calls = std::size_t {0}](std::string_view text) mutable {
        EXPECT_EQ(text, "the data");
        return values.at(calls++);
    };
}

TEST(KovaGeotriggerTest, StartsTheVendorAsItsDelegateAndLoadsTheConfiguration)
{
    const TestPlatform platform;
    addKeys(platform);
    const AnyDictionary launchOptions {{"url", "a"}, {7, true}};
    for (const auto& options : {std::optional {launchOptions}, std::optional<AnyDictionary> {}}) {
        auto kovaGeotrigger = std::make_shared<KovaGeotrigger>(options);
        kovaGeotrigger->start();
        EXPECT_EQ(platform.geofencing->starts.back(), options);
        EXPECT_EQ(platform.geofencing->delegate.lock(), kovaGeotrigger);

        const auto configuration = std::make_shared<RecordingConfiguration>();
        std::vector<std::shared_ptr<PlotConfiguration>> completed;
        platform.geofencing->delegate.lock()->plotLoadConfig(configuration, [&](const auto& loaded) {
            EXPECT_THAT(configuration->publicTokens, ElementsAre("token"));
            completed.push_back(loaded);
        });
        EXPECT_THAT(completed, ElementsAre(configuration));

        kovaGeotrigger.reset();
        EXPECT_TRUE(platform.geofencing->delegate.expired()) << "the host keeps it, nobody else";
    }
    EXPECT_EQ(platform.geofencing->starts.size(), 2U);
    EXPECT_THAT(platform.log.lines(), ElementsAre(initialized, initialized));
    EXPECT_EQ(KovaGeotrigger({}).launchOptions, std::nullopt) << "not the parameterless initialiser";
}

TEST(KovaGeotriggerTest, SkipsEveryGeotriggerAndMarksAllHandled)
{
    const std::vector<std::optional<Value>> data {
        std::nullopt,
        "",
        R"({"key":"value"})",
        R"({"a":"b","c":"d"})",
        R"({"a":"b","c":4})",
        "{}",
        "[\"a\"]",
        "null",
        "no JSON",
        "{\"a\":\"\xFF\"}",
        R"({"a\u0000":"b\u0000"})",
        std::string(1'000'000, '['),
        Value {},
        Data {R"({"a":"b"})"},
        Value::Array {R"({"a":"b"})"},
        Dictionary {{"a", "b"}},
    };
    LoopbackServer server;
    const TestPlatform platform {server.url("/v1/geotriggers/").absoluteString()};
    addKeys(platform);
    KovaGeotrigger kovaGeotrigger {std::nullopt};
    List all;
    std::ranges::transform(data, std::back_inserter(all), &geotrigger);
    std::vector<std::string> expected {initialized};
    for (const auto& batch : {all, List {}}) {
        const auto handedOver = std::make_shared<RecordingBatch>(batch);
        kovaGeotrigger.plotHandleGeotriggers(handedOver);
        EXPECT_TRUE(handedOver->marked == std::vector {std::optional {batch}}) << batch.size();
        EXPECT_EQ(handedOver->asked, 2);
        expected.insert(expected.end(), batch.size(), entered);
        expected.push_back(handled);
    }
    EXPECT_TRUE(platform.settledLines() == expected);
    EXPECT_TRUE(platform.vendor->tags.empty());
    EXPECT_TRUE(server.requests().empty());
}

TEST(KovaGeotriggerTest, MarksWhatTheBatchHasInTheEnd)
{
    const TestPlatform platform;
    KovaGeotrigger kovaGeotrigger {std::nullopt};
    const auto batch = std::make_shared<RecordingBatch>(List {geotrigger("a"), geotrigger("b")});
    for (const auto& later : {std::optional<List> {}, std::optional {List {geotrigger("c")}}}) {
        batch->asked = 0;
        batch->listLater = later;
        kovaGeotrigger.plotHandleGeotriggers(batch);
        EXPECT_EQ(batch->marked.back(), later);
    }
    EXPECT_THAT(platform.log.lines(), ElementsAre(initialized, entered, entered, handled, entered, entered, handled));
}

TEST(GeotriggerHandlerTest, TagsAndUploadsWhatIsAnObjectAndThenABuffer)
{
    LoopbackServer server;
    const TestPlatform platform {server.url("/v1/geotriggers/").absoluteString()};
    addKeys(platform);
    platform.vendor->subscribe("player");
    const auto fired = geotrigger("the data");
    handleGeotrigger(*fired, yielding({Dictionary {{"lo\"ja", "Re\ncife"}}, Data {"twelve bytes"s}}));
    ASSERT_TRUE(server.waitForRequests(1));

    EXPECT_THAT(platform.vendor->tags,
        ElementsAre(std::pair {std::optional<std::string> {"lo\"ja"}, std::optional<std::string> {"Re\ncife"}}));
    auto lines = platform.settledLines();
    // The reply's two lines come from the session's thread and may stand before the last one.
    for (const auto* printed : {"ResultOptional(\"\")", "success"})
        EXPECT_EQ(std::erase(lines, printed), 1U);
    EXPECT_THAT(lines,
        ElementsAre(entered, R"((key: "lo\"ja", value: "Re\ncife"))", "posting some geotrigger",
            "Request: " + server.url("/v1/geotriggers/player").absoluteString(),
            "api-x-key : the key\njson : 12 bytes"));
    const auto request = server.requests().at(0);
    EXPECT_EQ(request.target, "/v1/geotriggers/player");
    EXPECT_EQ(request.header("x-api-key"), "the key");
    EXPECT_EQ(request.body, "twelve bytes");
}

TEST(GeotriggerHandlerTest, StopsAtWhateverIsNotSo)
{
    const Value object {Dictionary {{"a", "b"}}};
    const Value buffer {Data {"{}"s}};
    const std::vector<std::optional<Value>> rows[] {
        {buffer},
        {object, std::nullopt},
        {object, object},
        {object, "{}"},
        {object, Value::Array {buffer}},
    };
    const TestPlatform platform;
    for (const auto& values : rows)
        handleGeotrigger(*geotrigger("the data"), yielding(values));
    EXPECT_EQ(platform.settledLines(), std::vector(std::size(rows), entered));
    EXPECT_TRUE(platform.vendor->tags.empty());
}

TEST(KovaGeotriggerDeathTest, StopsAndSaysWhatIsMissing)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const TestPlatform platform;
    KovaGeotrigger onTheStack {std::nullopt};
    const auto batchOf = [](std::optional<List> list) { return std::make_shared<RecordingBatch>(std::move(list)); };
    const auto configuration = std::make_shared<RecordingConfiguration>();
    const auto withoutUserInfo = std::make_shared<PlotGeotrigger>();

    const auto aborts = testing::KilledBySignal(SIGABRT);
    EXPECT_EXIT(KovaGeotrigger {}, aborts, "Fatal error: .*'init\\(\\)'.*'KovaSDK.KovaGeotrigger'");
    EXPECT_EXIT(onTheStack.start(), aborts, "Fatal error: .*make_shared");
    EXPECT_EXIT(onTheStack.plotLoadConfig(nullptr, [](const auto&) { }), aborts,
        "Fatal error: .*plotLoadConfig.*configuration");
    EXPECT_EXIT(onTheStack.plotLoadConfig(configuration, nullptr), aborts, "Fatal error: .*plotLoadConfig.*completion");
    EXPECT_EXIT(onTheStack.plotHandleGeotriggers(nullptr), aborts, "Fatal error: .*no batch");
    EXPECT_EXIT(
        onTheStack.plotHandleGeotriggers(batchOf(std::nullopt)), aborts, "Fatal error: .*batch has no geotriggers");
    EXPECT_EXIT(onTheStack.plotHandleGeotriggers(batchOf(List {nullptr})), aborts, "Fatal error: .*null among");
    EXPECT_EXIT(onTheStack.plotHandleGeotriggers(batchOf(List {geotrigger("a"), withoutUserInfo})), aborts,
        "Fatal error: .*no userInfo");
    PlotDebug::setShared(nullptr);
    EXPECT_EXIT(std::make_shared<KovaGeotrigger>(std::nullopt)->start(), aborts, "Fatal error: .*PlotDebug::setShared");
}

} // namespace
} // namespace kova
