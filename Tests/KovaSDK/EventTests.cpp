#include "KovaSDK/Events/EventModels/ButtonEvent.h"
#include "KovaSDK/Events/EventModels/CartEvent.h"
#include "KovaSDK/Events/EventModels/GeofenceEvent.h"
#include "KovaSDK/Events/EventModels/GeotriggerEvent.h"
#include "KovaSDK/Events/EventModels/InboxNotificationEvent.h"
#include "KovaSDK/Events/EventModels/NotificationEvent.h"
#include "KovaSDK/Events/EventModels/PageEvent.h"
#include "KovaSDK/Events/EventModels/PaymentEvent.h"
#include "KovaSDK/Events/EventModels/SearchEvent.h"
#include "KovaSDK/Events/EventModels/SessionEvent.h"
#include "KovaSDK/Events/EventModels/URLEvent.h"
#include "KovaSDK/Events/EventServices/EventError.h"
#include "KovaSDK/Events/EventServices/EventService.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Services/Networking/KovaNetworkTracker.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/TestPlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <thread>

namespace kova {
namespace {

using Dictionary = Value::Dictionary;
using testing::ElementsAre;
using tests::FakeNetwork;
using tests::LoopbackServer;
using tests::Reply;
using tests::TestPlatform;

TEST(EventTypeTest, HasTheWireNames)
{
    const char* names[] {"button_click", "cart_add_product", "cart_remove_product", "cart_checkout", "cart_empty",
        "geofence_enter", "geofence_exit", "geotrigger_enter", "geotrigger_exit", "page_view", "page_open",
        "page_close", "page_scroll", "payment_finish", "payment_failed", "payment_dropped", "payment_confirmed",
        "notification_receive", "notification_open", "notification_dismiss", "inbox_notification_view",
        "inbox_notification_delete", "search", "session_start", "session_end", "url_from_notification_open",
        "url_from_notification_close"};
    int index = 0;
    for (const auto* name : names) {
        EXPECT_EQ(eventTypeFromRawValue(name), static_cast<EventType>(index)) << name;
        EXPECT_EQ(rawValue(static_cast<EventType>(index++)), name);
    }
    for (const auto* name : {"", "Page_View", "page_view ", "pageView"})
        EXPECT_EQ(eventTypeFromRawValue(name), std::nullopt) << name;
}

// What start(with) adds, as "attributes | metrics"; a date is shown as NOW.
template <typename Kind> std::string started(EventType type, const std::string& text = "text")
{
    Kind event {type};
    EXPECT_EQ(event.eventType, rawValue(type));
    EXPECT_TRUE(event.attributes.empty() && event.metrics.empty());
    event.start(text);
    std::string shown;
    for (const auto& [key, value] : event.attributes) {
        const bool isDate = value.size() == 25 && value.ends_with(" +0000");
        shown += *key.text() + "=" + (isDate ? "NOW" : value) + " ";
    }
    shown += "|";
    for (const auto& [key, value] : event.metrics)
        shown += " " + *key.text() + "=" + std::to_string(static_cast<int>(value));
    return shown;
}

TEST(EventKindTest, StartFillsEachKindItsOwnWay)
{
    using enum EventType;
    EXPECT_EQ(started<ButtonEvent>(search), "button_name=text | click=1");
    EXPECT_EQ(started<CartEvent>(cartAddProduct), "added=text | quantity=1");
    EXPECT_EQ(started<CartEvent>(cartRemoveProduct), "removed=text | quantity=1");
    EXPECT_EQ(started<CartEvent>(cartCheckout), "order=text |");
    EXPECT_EQ(started<CartEvent>(cartEmpty), "removed=all |");
    EXPECT_EQ(started<CartEvent>(pageView), "|");
    EXPECT_EQ(started<GeofenceEvent>(geofenceEnter, "Store 12"), "Store 12=true |");
    EXPECT_EQ(started<GeofenceEvent>(geofenceExit), "text=false |");
    EXPECT_EQ(started<GeofenceEvent>(geotriggerExit), "|");
    EXPECT_EQ(started<GeotriggerEvent>(geotriggerEnter), "text=true | entered=1");
    EXPECT_EQ(started<GeotriggerEvent>(geotriggerExit), "text=false | exited=1");
    EXPECT_EQ(started<GeotriggerEvent>(geofenceEnter), "|");
    EXPECT_EQ(started<InboxNotificationEvent>(inboxNotificationView), "id=text view=true |");
    EXPECT_EQ(started<InboxNotificationEvent>(inboxNotificationDelete), "deleted=true id=text |");
    EXPECT_EQ(started<InboxNotificationEvent>(search), "id=text |");
    EXPECT_EQ(started<NotificationEvent>(notificationReceive), "id=text received=true |");
    EXPECT_EQ(started<NotificationEvent>(notificationOpen), "id=text openned=true |");
    EXPECT_EQ(started<NotificationEvent>(notificationDismiss), "dismissed=true id=text |");
    EXPECT_EQ(started<NotificationEvent>(search), "id=text |");
    EXPECT_EQ(started<PageEvent>(pageView), "title=text | views=1");
    EXPECT_EQ(started<PageEvent>(pageOpen), "opened=NOW title=text |");
    EXPECT_EQ(started<PageEvent>(pageClose), "closed=NOW title=text |");
    EXPECT_EQ(started<PageEvent>(pageScroll), "scrolled=true title=text |");
    EXPECT_EQ(started<PageEvent>(buttonClick), "title=text |");
    EXPECT_EQ(started<PaymentEvent>(paymentFailed), "reason=text |");
    for (const auto type : {paymentFinish, paymentDropped, paymentConfirmed})
        EXPECT_EQ(started<PaymentEvent>(type), "=text |");
    EXPECT_EQ(started<PaymentEvent>(search), "|");
    EXPECT_EQ(started<SearchEvent>(search), "keywords=text |");
    EXPECT_EQ(started<SessionEvent>(sessionStart), "started=NOW |");
    EXPECT_EQ(started<SessionEvent>(sessionEnd), "ended=NOW |");
    EXPECT_EQ(started<UrlEvent>(urlFromNotificationOpen), "action=openned |");
    EXPECT_EQ(started<UrlEvent>(urlFromNotificationClose), "action=dismiss |");

    EXPECT_EQ(CartEvent {cartEmpty}.userId, "USER_ID");
    EXPECT_EQ(SessionEvent {sessionEnd}.userId, "USER_ID");
    EXPECT_EQ(PageEvent {pageView}.userId, "3f5e2a91-7c4d-4b8e-9a12-6d0c8e4f7b21");
}

Value toJSONValue(const Event& event)
{
    const auto body = event.toJSON();
    return body ? JSONSerialization::jsonObject(body->text()).value_or(Value {}) : Value {};
}

TEST(EventTest, SerialisesItsSixKeys)
{
    const TestPlatform platform;
    platform.addResource("Kova.plist", PropertyListEncoder::encode(Dictionary {{"KovaAudienceID", "plateia"}})->text());
    CartEvent event {EventType::cartCheckout};
    const std::pair<double, double> rounded[] {{19.99, 20}, {0.5, 1}, {-0.5, -1}, {2.5, 3}, {-2.5, -3}, {0.49, 0}};
    for (const auto& [given, kept] : rounded) {
        event.addMetric("m", given);
        EXPECT_EQ(event.metrics.at("m"), kept) << given;
    }
    event.timeStamp = {1556712000.25};
    event.userId = "joão";
    event.addAttribute("k", "first");
    event.addAttribute("k", "a\"/\n☕️");
    EXPECT_EQ(toJSONValue(event),
        (Value {Dictionary {{"audience_id", "plateia"}, {"user_timestamp", 1556712000.25}, {"player_id", "joão"},
            {"type", "cart_checkout"}, {"attributes", Dictionary {{"k", "a\"/\n☕️"}}},
            {"metrics", Dictionary {{"m", 0}}}}}));
    event.attributes.clear();
    event.metrics.clear();
    EXPECT_EQ(*toJSONValue(event).find("attributes"), Value {Dictionary {}});
    EXPECT_EQ(*toJSONValue(event).find("metrics"), Value {Dictionary {}});
    const auto before = Date::now().secondsSince1970;
    event.record();
    EXPECT_GE(event.timeStamp.secondsSince1970, before);
}

TEST(EventTest, WhatJSONCannotHoldIsThrownAndLeavesNoTrace)
{
    const TestPlatform platform;
    const std::pair<const char*, void (*)(Event&)> rows[] {
        {"not a number", [](Event& event) { event.metrics["m"] = std::nan(""); }},
        {"infinite", [](Event& event) { event.addMetric("m", -std::numeric_limits<double>::infinity()); }},
        {"a key that is no text", [](Event& event) { event.attributes[7] = "a"; }},
        {"a metric's key that is no text", [](Event& event) { event.metrics[true] = 1; }},
        {"not UTF-8", [](Event& event) { event.userId = "\xFF"; }},
    };
    for (const auto& [name, spoil] : rows) {
        PageEvent event {EventType::pageView};
        spoil(event);
        try {
            // Serialised before the monitor is asked for, which is missing here and would stop the process.
            event.save();
            ADD_FAILURE() << name;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), EventError::eventCantBeTransformedInJson) << name;
        }
    }
    EXPECT_TRUE(platform.settledLines().empty());
    EXPECT_TRUE(EventStorage {}.buffer().empty());
}

struct EventRoadTest : testing::Test {
    LoopbackServer server;
    TestPlatform platform {server.url("/v2/").absoluteString()};

    EventRoadTest()
    {
        (void)KovaNetworkTracker::startNetworkTracker();
        (void)platform.settledLines();
    }

    static void fill(std::initializer_list<const char*> bodies)
    {
        Value::Array list;
        for (const auto* body : bodies)
            list.append(Data {body});
        EventStorage {}.setBuffer(list);
    }
    static std::vector<std::string> buffered()
    {
        std::vector<std::string> bodies;
        for (const auto& body : EventStorage {}.buffer())
            bodies.emplace_back(body.as<Data>()->text());
        return bodies;
    }
    /// The bodies that came since this was asked before.
    [[nodiscard]] std::vector<std::string> sent()
    {
        std::vector<std::string> bodies;
        for (const auto& request : server.takeRequests())
            bodies.push_back(request.body);
        return bodies;
    }
};

TEST_F(EventRoadTest, SavesOnlineOfflineAndWhenTheServerDoesNotAcknowledge)
{
    PageEvent event {EventType::pageView};
    const auto body = std::string {event.toJSON()->text()};
    event.save();
    EXPECT_THAT(buffered(), ElementsAre(body));
    EXPECT_THAT(platform.settledLines(), ElementsAre("Event Save: Send data to buffer array"));

    platform.network->flags = FakeNetwork::wwan;
    struct Row {
        Reply reply;
        std::vector<std::string> lines;
        bool isKept = true;
    };
    const std::vector<std::string> refused {"EVENT SERVICE: Error parsing response", "Event POST: Error"};
    const auto lost = make_error_code(URLError::networkConnectionLost).message();
    const Row rows[] {
        {Reply::status(200), {"statusCode 200", "Event POST: Success"}, false},
        {Reply::status(204), refused},
        {Reply::status(201), refused},
        {Reply::status(302, "", {{"Location", "/v2/other"}}), refused},
        {Reply::status(500, "busy"), refused},
        {Reply::reset(), {"EVENT SERVICE: Error : URLError -1005: " + lost, "Event POST: " + lost}},
    };
    for (const auto& row : rows) {
        fill({});
        platform.log.takeLines();
        const auto requestsBefore = server.requests().size();
        server.enqueue(row.reply);
        event.save();
        std::vector<std::string> expected {
            "EVENT SERVICE: Entered PUBLISH method for" + description(std::optional {body}),
            "EVENT SERVICE: Entered REQUEST method"};
        expected.insert(expected.end(), row.lines.begin(), row.lines.end());
        EXPECT_EQ(platform.log.takeLines(), expected);
        EXPECT_EQ(buffered(), row.isKept ? std::vector {body} : std::vector<std::string> {}) << row.lines.front();
        EXPECT_EQ(server.requests().size(), requestsBefore + 1);
    }
    const auto request = server.requests().back();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v2/6a1f0c3e9b7d2e4f80a1c5d3");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.body, body);
}

TEST_F(EventRoadTest, ReleaseSendsTheFirstBodyForEachThatWaitsUntilOneIsNotAcknowledged)
{
    struct Row {
        std::vector<Reply> replies;
        std::vector<std::string> left;
        std::string line;
    };
    const auto lost
        = "RESPONSE: failure(URLError -1005: " + make_error_code(URLError::networkConnectionLost).message() + ")";
    const Row rows[] {
        {{Reply::status(200), Reply::status(200), Reply::status(200)}, {}, "RESPONSE: success(true)"},
        {{Reply::status(500)}, {"A", "B", "C"}, "RESPONSE: success(false)"},
        {{Reply::status(200), Reply::status(204)}, {"B", "C"}, "EVENT STORAGE: cannot remove event from buffer"},
        {{Reply::close()}, {"A", "B", "C"}, lost},
    };
    for (const auto& row : rows) {
        fill({"A", "B", "C"});
        platform.log.takeLines();
        for (const auto& reply : row.replies)
            server.enqueue(reply);
        EventStorage {}.releaseEvents();
        const auto lines = platform.settledLines();
        EXPECT_EQ(sent(), std::vector<std::string>(row.replies.size(), "A")) << row.line;
        EXPECT_EQ(buffered(), row.left) << row.line;
        EXPECT_GE(std::ranges::count(lines, row.line), 1) << row.line;
        EXPECT_EQ(std::ranges::count(lines, "EVENT STORAGE: Inside buffer"), std::ssize(row.replies)) << row.line;
        EXPECT_EQ(std::ranges::count(lines, "EVENT STORAGE: removed event from buffer"), 3 - std::ssize(row.left));
    }
    fill({});
    platform.log.takeLines();
    EventStorage {}.releaseEvents();
    EXPECT_THAT(platform.settledLines(), ElementsAre("EVENT STORAGE: Entered release method"));
}

TEST_F(EventRoadTest, WhatIsStoredDuringAReleaseMayBeRemovedUnsent)
{
    fill({"A", "B"});
    const auto gate = std::make_shared<tests::Gate>();
    server.enqueue(Reply::status(200).held(gate));
    EventStorage {}.releaseEvents();
    ASSERT_TRUE(server.waitForRequests(1));
    EventStorage {}.store(Data {"late"});
    EXPECT_THAT(buffered(), ElementsAre("A", "B", "late"));
    gate->open();
    (void)platform.settledLines();
    EXPECT_THAT(sent(), ElementsAre("A", "A"));
    EXPECT_THAT(buffered(), ElementsAre("late"));
}

TEST_F(EventRoadTest, ReadsWhatIsNoListOfBytesAsEmpty)
{
    for (const auto& stored : {Value {"text"}, Value {Data {"bytes"}}, Value {Value::Array {Data {"a"}, "text"}}}) {
        UserDefaults::standard()->setObject(EventStorage::key, stored);
        EXPECT_TRUE(buffered().empty());
    }
    EventStorage {}.store(Data {"first"});
    EXPECT_THAT(buffered(), ElementsAre("first")) << "the next write replaces it";
}

TEST_F(EventRoadTest, APublicationEndsWithTheSession)
{
    server.setDefault(Reply::never());
    platform.network->flags = FakeNetwork::wifi;
    std::jthread saving {[] { PageEvent {EventType::pageView}.save(); }};
    ASSERT_TRUE(server.waitForRequests(1));
    URLSession::shared()->invalidateAndCancel();
    saving.join();
    EXPECT_EQ(buffered().size(), 1U) << "what could not be sent is kept";
}

TEST(EventServiceDeathTest, PublishingOnTheSessionsThreadIsSaid)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const TestPlatform platform;
            EventService {}.publish(
                Data {"a"}, [](const auto&) { EventService {}.publish(Data {"b"}, [](const auto&) { }); });
        },
        testing::KilledBySignal(SIGABRT), "wait for itself");
}

} // namespace
} // namespace kova
