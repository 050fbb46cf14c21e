#include "MyPushVendor.h"

#include "Frameworks.h"

#include <Platform/Foundation/JSONSerialization.h>

#include <utility>

namespace {

/// A text that is not there is none, never the empty text: the inbox keeps the difference.
std::optional<std::string> text(const kova::Value* dictionary, const char* key)
{
    const auto* value = dictionary ? dictionary->find(key) : nullptr;
    const auto* found = value ? value->as<std::string>() : nullptr;
    return found ? std::optional {*found} : std::nullopt;
}

std::shared_ptr<kova::OSNotification> decoded(const frameworks::PushMessage& message)
{
    const auto json = kova::JSONSerialization::jsonObject(message.rawJson);
    const auto* raw = json ? json->as<kova::Value::Dictionary>() : nullptr;
    if (!raw)
        return nullptr;
    auto payload = std::make_shared<kova::OSNotificationPayload>();
    payload->notificationID = message.id;
    payload->rawPayload = *raw;
    const auto* aps = json->find("aps");
    const auto* alert = aps ? aps->find("alert") : nullptr;
    payload->title = text(alert, "title");
    payload->subtitle = text(alert, "subtitle");
    payload->body = alert && alert->as<std::string>() ? text(aps, "alert") : text(alert, "body");
    const auto* custom = json->find("custom");
    payload->launchURL = text(custom, "u");
    const auto* additional = custom ? custom->find("a") : nullptr;
    if (const auto* data = additional ? additional->as<kova::Value::Dictionary>() : nullptr)
        payload->additionalData = *data;
    return std::make_shared<kova::OSNotification>(kova::OSNotification {.payload = std::move(payload)});
}

} // namespace

std::any MyPushVendor::initWithLaunchOptions(const std::optional<kova::AnyDictionary>&, const std::string& appId,
    kova::OSHandleNotificationReceived handleNotificationReceived, kova::OSHandleNotificationAction,
    const std::optional<kova::AnyDictionary>&)
{
    // The framework calls on its own thread; the SDK's handlers belong on the main queue.
    frameworks::Push::start(appId, [received = std::move(handleNotificationReceived)](const auto& message) {
        if (auto notification = decoded(message))
            kova::DispatchQueue::main().async([received, notification] { received(notification); });
    });
    // A framework that reports taps calls handleNotificationAction with an OSNotificationOpenedResult, likewise; what
    // has additionalData then must have the entry "actionSelected" in it, or the process stops.
    return {};
}

std::any MyPushVendor::initWithLaunchOptions(const std::optional<kova::AnyDictionary>& launchOptions,
    const std::string& appId, kova::OSHandleNotificationAction handleNotificationAction,
    const std::optional<kova::AnyDictionary>& settings)
{
    return initWithLaunchOptions(
        launchOptions, appId, [](const auto&) { }, std::move(handleNotificationAction), settings);
}

void MyPushVendor::setInFocusDisplayType(int)
{
    // 2: show it as a system notification even while the application is in front.
}

void MyPushVendor::promptLocation()
{
    // Ask the user to share the location with the vendor, if yours uses it.
}

void MyPushVendor::setLocationShared(bool)
{
}

void MyPushVendor::promptForPushNotificationsWithUserResponse(kova::OSUserResponse userResponse)
{
    const bool accepted = frameworks::Push::askForPermission();
    if (userResponse)
        kova::DispatchQueue::main().async(
            [userResponse = std::move(userResponse), accepted] { userResponse(accepted); });
}

void MyPushVendor::sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value)
{
    if (key)
        frameworks::Push::setTag(*key, value.value_or(""));
}

std::shared_ptr<const kova::OSPermissionSubscriptionState> MyPushVendor::getPermissionSubscriptionState()
{
    const auto id = frameworks::Push::subscriptionId();
    auto state = std::make_shared<kova::OSPermissionSubscriptionState>();
    state->subscriptionStatus = std::make_shared<kova::OSSubscriptionState>(
        kova::OSSubscriptionState {.userId = id.empty() ? std::nullopt : std::optional {id}});
    return state;
}

// Called from a notification service extension: hand on to the framework what it should change before the text shows.
std::shared_ptr<kova::UNMutableNotificationContent> MyPushVendor::didReceiveNotificationExtensionRequest(
    const std::shared_ptr<const kova::UNNotificationRequest>&,
    const std::shared_ptr<kova::UNMutableNotificationContent>& content)
{
    return content;
}

std::shared_ptr<kova::UNMutableNotificationContent> MyPushVendor::serviceExtensionTimeWillExpireRequest(
    const std::shared_ptr<const kova::UNNotificationRequest>&,
    const std::shared_ptr<kova::UNMutableNotificationContent>& content)
{
    return content;
}
