#include "Fuzz/Fuzzing.h"
#include "Fuzz/Support/FuzzPlatform.h"
#include "Host/PushPayload.h"
#include "KovaSDK/Push/KovaNotify.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/Unicode.h"
#include "Platform/Foundation/UserDefaults.h"

namespace {

using namespace kova;

const fuzz::FuzzPlatform& platform()
{
    static const fuzz::FuzzPlatform platform {MainLoop::Host};
    [[maybe_unused]] static const bool isStarted = (platform.startSDK(), true);
    return platform;
}

// An inbox with one entry that was there before.
Data oldInbox()
{
    KovaNotification old;
    old.notificationID = "old";
    return *PropertyListEncoder::encode(Value::Array {old.encode()});
}

// The push arrives: it is the newest entry, with what the payload says, and its delivery is reported once.
void receive(const Value::Dictionary& raw, const OSNotificationPayload& payload)
{
    static const Value before {oldInbox()};
    UserDefaults::standard()->setObject(NotificationStorage::key, before);
    (void)platform().session->takeRequests();
    platform().vendor->receive(raw);
    DispatchQueue::drainMain();

    const auto inbox = NotificationStorage::buffer();
    require(inbox.size() == 2 && inbox[1].notificationID == "old");
    require(inbox[0].encode() == KovaNotification {payload}.encode());
    require(NotificationStorage::totalUnreadNotifications() == 2);

    const auto requests = platform().session->takeRequests();
    require(requests.size() == 1 && requests[0].httpBody);
    const auto metric = JSONSerialization::jsonObject(requests[0].httpBody->text());
    require(metric && metric->find("notificationId") && *metric->find("notificationId") == *payload.notificationID);
}

// The user presses a button of it: that is handled whatever the payload holds, and its text form is JSON.
void open(const Value::Dictionary& raw, const OSNotificationPayload& payload)
{
    const auto text = host::stringifiedResult(payload, "button");
    require(text && JSONSerialization::jsonObject(*text));
    platform().vendor->open(raw, "button");
    DispatchQueue::drainMain();
}

void extend(const Value::Dictionary& raw)
{
    const auto request = std::make_shared<UNNotificationRequest>();
    request->userInfo = raw;
    const auto content = std::make_shared<UNMutableNotificationContent>();
    KovaNotify::didReceiveNotificationExtensionRequest(request, content);
    KovaNotify::serviceExtensionTimeWillExpireRequest(request, content);
    require(content->attachments.empty());
}

} // namespace

// A raw payload on its whole way: through the vendor and the SDK's handlers into the inbox, and read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto repaired = host::repairedJSON({reinterpret_cast<const char*>(bytes), size});
    require(isValidUTF8(repaired) && host::repairedJSON(repaired) == repaired);
    const auto value = JSONSerialization::jsonObject(repaired);
    const auto* raw = value ? value->as<Value::Dictionary>() : nullptr;
    if (!raw)
        return 0;
    (void)platform();
    extend(*raw);
    const auto payload = host::decodedPayload(*raw);
    if (!payload)
        return 0;
    receive(*raw, *payload);
    open(*raw, *payload);
    return 0;
}
