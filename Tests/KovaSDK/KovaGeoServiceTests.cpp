#include "KovaSDK/Geolocation/GeolocationModels/GeotriggerRequest.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeoService.h"
#include "Platform/Foundation/PropertyList.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TestPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kova {
namespace {

using std::string_literals::operator""s;
using Dictionary = Value::Dictionary;
using testing::ElementsAre;
using tests::Gate;
using tests::LoopbackServer;
using tests::Reply;
using tests::TestPlatform;

const std::string json = R"({"loja":"Recife"})";

class Upload {
public:
    explicit Upload(std::string body)
    {
        KovaGeoService {URLSession::shared()}.postGeotriggers(Data {std::move(body)}, [this](auto result) {
            EXPECT_TRUE(URLSession::shared()->isOnCompletionThread());
            outcomes.push_back(result
                    ? result->template as<bool>() && *result == Value {true} ? "success(true)" : "another success"
                    : result.error().message());
        });
    }

    /// Guarded by the platform's settling.
    std::vector<std::string> outcomes;
};

TEST(GeotriggerRequestTest, GoesToNobodyInParticularWithoutASubscription)
{
    const TestPlatform platform;
    EXPECT_EQ(GeotriggerRequest {Data {json}}.path, "") << "the vendor has no state yet";
    platform.vendor->subscribe("");
    EXPECT_EQ(GeotriggerRequest {Data {json}}.path, "");
    platform.vendor->state->subscriptionStatus = std::make_shared<OSSubscriptionState>();
    EXPECT_EQ(GeotriggerRequest {Data {json}}.path, "");
}

TEST(KovaGeoServiceTest, HandsTheTransportsErrorOnAndPrintsNothing)
{
    LoopbackServer server;
    server.setDefault(Reply::reset());
    const auto base = server.url("/v1/geotriggers/").absoluteString();
    const TestPlatform platform {base};
    const Upload upload {json};
    EXPECT_THAT(platform.settledLines(), ElementsAre("posting some geotrigger", "Request: " + base));
    EXPECT_THAT(upload.outcomes, ElementsAre(make_error_code(URLError::networkConnectionLost).message()));
    EXPECT_EQ(server.requests().size(), 1U) << "nothing is retried";
}

TEST(KovaGeoServiceTest, SendsTheBytesWithTheKeyAndReturnsAtOnce)
{
    LoopbackServer server;
    const auto gate = std::make_shared<Gate>();
    server.setDefault(Reply::status(200).held(gate));
    const TestPlatform platform {server.url("/v1/geotriggers/").absoluteString()};
    platform.addResource("Kova.plist", PropertyListEncoder::encode(Dictionary {{"KovaAPIKey", "the key"}})->text());
    platform.vendor->subscribe("a b");
    const auto body = "not JSON \xFF\0 "s;
    // Built while the server holds its reply back.
    const Upload upload {body};
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_THAT(platform.log.lines(),
        ElementsAre("posting some geotrigger", "Request: " + server.url("/v1/geotriggers/a%20b").absoluteString()));
    const auto request = server.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v1/geotriggers/a%20b");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("x-api-key"), "the key");
    EXPECT_EQ(request.body, body);
    gate->open();
    (void)platform.settledLines();
    EXPECT_THAT(upload.outcomes, ElementsAre("success(true)"));
}

TEST(KovaGeoServiceTest, NoSubscriptionIdLeavesTheServicesPath)
{
    const std::pair<const char*, const char*> rows[] {
        {"../../v2/x", "/v1/geotriggers/%252E%252E/%252E%252E/v2/x"},
        {"a/../../..", "/v1/geotriggers/a/%252E%252E/%252E%252E/%252E%252E"},
        {"./x", "/v1/geotriggers/%252E/x"},
        {"%2e%2e/%2E./x", "/v1/geotriggers/%252e%252e/%252E./x"},
        {"//host/x", "/v1/geotriggers/host/x"},
        {"x?a#b", "/v1/geotriggers/x%3Fa%23b"},
    };
    LoopbackServer server;
    const TestPlatform platform {server.url("/v1/geotriggers/").absoluteString()};
    for (const auto& [id, target] : rows) {
        platform.vendor->subscribe(id);
        const Upload upload {json};
        (void)platform.settledLines();
        const auto requests = server.takeRequests();
        ASSERT_EQ(requests.size(), 1U) << id;
        EXPECT_EQ(requests[0].target, target);
    }
}

TEST(KovaGeoServiceTest, ShowsTheBeginningOfAReplyThatIsCut)
{
    const auto euro = "\u20AC"s;
    std::string euros;
    for (int count = 0; count < 1024 * 1024; ++count)
        euros += euro;
    const std::string control(1024 * 1024, '\x01');
    const auto escaped = [](std::size_t count) {
        std::string text;
        for (; count > 0; --count)
            text += "\\u{1}";
        return text;
    };
    struct Row {
        std::string body;
        std::string line;
    };
    const auto cut = "\"), the beginning of a reply of more than 1 MiB"s;
    const Row rows[] {
        {std::string(1024 * 1024, 'a'), "ResultOptional(\"" + std::string(1024 * 1024, 'a') + "\")"},
        {control, "ResultOptional(\"" + escaped(control.size()) + "\")"},
        {control + "b", "ResultOptional(\"" + escaped(4096) + cut},
        {euros, "ResultOptional(\"" + euros.substr(0, 4096 / 3 * 3) + cut},
        {std::string(2 * 1024 * 1024, '\xFF'), "Resultnil, the beginning of a reply of more than 1 MiB"},
    };
    for (const auto& [body, line] : rows) {
        LoopbackServer server;
        server.setDefault(Reply::status(200, body));
        const TestPlatform platform {server.url("/v1/geotriggers/").absoluteString()};
        const Upload upload {json};
        const auto lines = platform.settledLines();
        ASSERT_EQ(lines.size(), 4U);
        EXPECT_TRUE(lines[2] == line) << lines[2].substr(0, 100) << " of " << lines[2].size() << " bytes";
        EXPECT_EQ(lines[3], "success");
        EXPECT_THAT(upload.outcomes, ElementsAre("success(true)"));
    }
}

TEST(KovaGeoServiceDeathTest, StopsOnWhatMustNotBeMissing)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const TestPlatform platform;
    const auto aborts = testing::KilledBySignal(SIGABRT);
    platform.vendor->state = std::make_shared<OSPermissionSubscriptionState>();
    EXPECT_EXIT(Upload {json}, aborts, "Fatal error: .*subscriptionStatus");
    OneSignal::setShared(nullptr);
    EXPECT_EXIT(Upload {json}, aborts, "Fatal error: .*push vendor's adapter is missing");
    ServiceAddresses::setCurrent({.eventsBaseURL = {}, .metricsBaseURL = {}, .geotriggersBaseURL = "not a URL"});
    EXPECT_EXIT(Upload {json}, aborts, "Fatal error: .*geotrigger web service.*not a URL");
}

} // namespace
} // namespace kova
