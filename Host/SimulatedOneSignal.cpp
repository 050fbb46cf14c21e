#include "Host/SimulatedOneSignal.h"

#include "Host/PushPayload.h"
#include "Platform/Foundation/DispatchQueue.h"

namespace kova::host {

void SimulatedOneSignal::receive(const Value::Dictionary& rawPayload)
{
    auto payload = decodedPayload(rawPayload);
    if (!payload)
        return;
    const std::lock_guard lock {m_mutex};
    if (!m_received)
        return;
    DispatchQueue::main().async([handler = m_received, payload = std::move(payload)] {
        handler(std::make_shared<OSNotification>(OSNotification {.payload = payload}));
    });
}

void SimulatedOneSignal::open(const Value::Dictionary& rawPayload, const std::optional<std::string>& action)
{
    auto payload = decodedPayload(rawPayload);
    if (!payload)
        return;
    if (action) {
        if (!payload->additionalData)
            payload->additionalData.emplace();
        payload->additionalData->insert_or_assign("actionSelected", *action);
    }
    auto result = std::make_shared<OSNotificationOpenedResult>();
    result->stringify = stringifiedResult(*payload, action);
    result->notification = std::make_shared<OSNotification>(OSNotification {.payload = std::move(payload)});
    const std::lock_guard lock {m_mutex};
    if (m_opened)
        DispatchQueue::main().async([handler = m_opened, result = std::move(result)] { handler(result); });
}

void SimulatedOneSignal::setAnswerToPrompt(bool accepted)
{
    const std::lock_guard lock {m_mutex};
    m_answerToPrompt = accepted;
}

void SimulatedOneSignal::setUserId(std::optional<std::string> userId)
{
    const std::lock_guard lock {m_mutex};
    m_subscription = std::make_shared<OSSubscriptionState>(OSSubscriptionState {.userId = std::move(userId)});
}

std::any SimulatedOneSignal::initWithLaunchOptions(const std::optional<AnyDictionary>&, const std::string&,
    OSHandleNotificationReceived handleNotificationReceived, OSHandleNotificationAction handleNotificationAction,
    const std::optional<AnyDictionary>&)
{
    const std::lock_guard lock {m_mutex};
    m_received = std::move(handleNotificationReceived);
    m_opened = std::move(handleNotificationAction);
    return {};
}

std::any SimulatedOneSignal::initWithLaunchOptions(const std::optional<AnyDictionary>& launchOptions,
    const std::string& appId, OSHandleNotificationAction handleNotificationAction,
    const std::optional<AnyDictionary>& settings)
{
    return initWithLaunchOptions(launchOptions, appId, nullptr, std::move(handleNotificationAction), settings);
}

// This console has no notifications to show, no location to share and nobody to ask for it.
void SimulatedOneSignal::setInFocusDisplayType(int)
{
}
void SimulatedOneSignal::promptLocation()
{
}
void SimulatedOneSignal::setLocationShared(bool)
{
}

void SimulatedOneSignal::promptForPushNotificationsWithUserResponse(OSUserResponse userResponse)
{
    const std::lock_guard lock {m_mutex};
    DispatchQueue::main().async([userResponse = std::move(userResponse), accepted = m_answerToPrompt] {
        if (userResponse)
            userResponse(accepted);
    });
}

void SimulatedOneSignal::sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value)
{
    const std::lock_guard lock {m_mutex};
    if (key)
        m_tags.insert_or_assign(*key, value ? Value {*value} : Value {});
}

std::shared_ptr<const OSPermissionSubscriptionState> SimulatedOneSignal::getPermissionSubscriptionState()
{
    auto state = std::make_shared<OSPermissionSubscriptionState>();
    const std::lock_guard lock {m_mutex};
    state->subscriptionStatus = m_subscription;
    return state;
}

std::shared_ptr<UNMutableNotificationContent> SimulatedOneSignal::didReceiveNotificationExtensionRequest(
    const std::shared_ptr<const UNNotificationRequest>& request,
    const std::shared_ptr<UNMutableNotificationContent>& content)
{
    if (!request || !content)
        return content;
    if (const auto payload = decodedPayload(request->userInfo)) {
        content->title = payload->title.value_or(content->title);
        content->subtitle = payload->subtitle.value_or(content->subtitle);
        content->body = payload->body.value_or(content->body);
    }
    const Value raw {request->userInfo};
    const auto* vendor = raw.find("os_data");
    const auto* attachments = vendor ? vendor->find("att") : raw.find("att");
    if (const auto* named = attachments ? attachments->as<Value::Dictionary>() : nullptr) {
        for (const auto& [name, address] : *named) {
            if (const auto* text = address.as<std::string>())
                content->attachments.push_back(*text);
        }
    }
    return content;
}

std::shared_ptr<UNMutableNotificationContent> SimulatedOneSignal::serviceExtensionTimeWillExpireRequest(
    const std::shared_ptr<const UNNotificationRequest>& request,
    const std::shared_ptr<UNMutableNotificationContent>& content)
{
    // What can be had without a download is shown.
    const auto shown = didReceiveNotificationExtensionRequest(request, content);
    if (shown)
        shown->attachments.clear();
    return shown;
}

Value::Dictionary SimulatedOneSignal::tags() const
{
    const std::lock_guard lock {m_mutex};
    return m_tags;
}

} // namespace kova::host
