#include "Tests/Load/Traffic.h"

#include "KovaSDK/Events/EventModels/PageEvent.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Geolocation/GeolocationServices/GeotriggerHandler.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Tests/Support/RecordingPlotProjects.h"

#include <gtest/gtest.h>

#include <utility>

namespace kova::tests {

namespace {

std::string titleOf(const std::string& mark)
{
    return "The title of " + mark + std::string(100, '.');
}

} // namespace

Traffic::Traffic(std::shared_ptr<RecordingOneSignal> vendor)
    : m_vendor(std::move(vendor))
    , m_geotrigger(std::make_shared<KovaGeotrigger>(std::nullopt))
{
    m_geotrigger->start();
}

void Traffic::push(const std::string& mark)
{
    auto payload = std::make_shared<OSNotificationPayload>();
    payload->notificationID = mark;
    payload->title = titleOf(mark);
    payload->rawPayload.emplace();
    ++pushes;
    m_vendor->received(std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)}));
}

void Traffic::save(const std::string& mark)
{
    PageEvent event {EventType::pageView};
    event.start(titleOf(mark));
    event.addAttribute("mark", mark);
    ++events;
    event.save();
}

void Traffic::fireGeotriggers(const std::string& mark)
{
    const PlotHandleGeotriggers::List fired {geotrigger(R"({"mark":")" + mark + "\"}"), geotrigger("no JSON")};
    const auto batch = std::make_shared<RecordingBatch>(fired);
    m_geotrigger->plotHandleGeotriggers(batch);
    EXPECT_EQ(batch->marked.size(), 1U);
    int calls = 0;
    ++uploads;
    handleGeotrigger(*fired[0], [&](std::string_view text) -> std::optional<Value> {
        return calls++ == 0 ? Value {Value::Dictionary {{"mark", mark}}} : Value {Data {std::string {text}}};
    });
}

void Traffic::expectWholeStore()
{
    for (const auto& record : NotificationStorage::buffer()) {
        ASSERT_TRUE(record.notificationID && record.title);
        EXPECT_EQ(*record.title, titleOf(*record.notificationID));
    }
    for (const auto& stored : EventStorage {}.buffer()) {
        const auto body = JSONSerialization::jsonObject(stored.as<Data>()->text());
        ASSERT_TRUE(body) << stored.as<Data>()->text();
        const auto* attributes = body->find("attributes");
        EXPECT_EQ(*attributes->find<std::string>("title"), titleOf(*attributes->find<std::string>("mark")));
    }
}

void Traffic::expectWhole(const std::vector<RecordedRequest>& requests)
{
    for (const auto& request : requests) {
        const auto body = JSONSerialization::jsonObject(request.body);
        ASSERT_TRUE(body) << request.body;
        EXPECT_TRUE(body->find("attributes") || body->find("notificationId") || body->find("mark")) << request.body;
    }
}

} // namespace kova::tests
