// A push vendor that does nothing but remember what it was asked, in order.

#pragma once

#include "Platform/Vendors/OneSignal.h"

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

class RecordingOneSignal final : public OneSignal {
public:
    std::vector<std::string> calls;
    /// Runs within the full initialiser, if there is one.
    std::function<void()> whenInitialised;
    std::optional<AnyDictionary> launchOptions;
    std::string appId;
    OSHandleNotificationReceived received;
    OSHandleNotificationAction opened;
    std::optional<AnyDictionary> settings;
    std::shared_ptr<OSPermissionSubscriptionState> state;
    std::vector<std::pair<std::optional<std::string>, std::optional<std::string>>> tags;

    std::any initWithLaunchOptions(const std::optional<AnyDictionary>& options, const std::string& id,
        OSHandleNotificationReceived handleReceived, OSHandleNotificationAction handleAction,
        const std::optional<AnyDictionary>& given) override
    {
        calls.emplace_back("init");
        launchOptions = options;
        appId = id;
        received = std::move(handleReceived);
        opened = std::move(handleAction);
        settings = given;
        if (whenInitialised)
            whenInitialised();
        return {};
    }

    std::any initWithLaunchOptions(const std::optional<AnyDictionary>& options, const std::string& id,
        OSHandleNotificationAction handleAction, const std::optional<AnyDictionary>& given) override
    {
        calls.emplace_back("plain init");
        launchOptions = options;
        appId = id;
        opened = std::move(handleAction);
        settings = given;
        return std::string {"the vendor's own"};
    }

    void setInFocusDisplayType(int displayType) override
    {
        calls.push_back("display type " + std::to_string(displayType));
    }
    void promptLocation() override { calls.emplace_back("prompt location"); }
    void setLocationShared(bool isShared) override
    {
        calls.emplace_back(isShared ? "location shared" : "location not shared");
    }
    void promptForPushNotificationsWithUserResponse(OSUserResponse userResponse) override
    {
        calls.emplace_back("prompt");
        userResponse(true);
    }
    void sendTag(const std::optional<std::string>& key, const std::optional<std::string>& value) override
    {
        const std::lock_guard lock {m_mutex};
        tags.emplace_back(key, value);
    }
    std::shared_ptr<const OSPermissionSubscriptionState> getPermissionSubscriptionState() override { return state; }
    std::shared_ptr<UNMutableNotificationContent> didReceiveNotificationExtensionRequest(
        const std::shared_ptr<const UNNotificationRequest>&,
        const std::shared_ptr<UNMutableNotificationContent>& content) override
    {
        calls.emplace_back("extension request");
        return content;
    }
    std::shared_ptr<UNMutableNotificationContent> serviceExtensionTimeWillExpireRequest(
        const std::shared_ptr<const UNNotificationRequest>&,
        const std::shared_ptr<UNMutableNotificationContent>& content) override
    {
        calls.emplace_back("extension expires");
        return content;
    }

    void subscribe(const std::string& userId)
    {
        state = std::make_shared<OSPermissionSubscriptionState>();
        state->subscriptionStatus = std::make_shared<OSSubscriptionState>(OSSubscriptionState {.userId = userId});
    }

private:
    /// Geotriggers are tagged on any thread.
    std::mutex m_mutex;
};

} // namespace kova::tests
