#include "Fuzz/Fuzzing.h"
#include "Fuzz/Support/FuzzPlatform.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <vector>

namespace {

using namespace kova;
using Inbox = std::vector<KovaNotification>;

const fuzz::FuzzPlatform& platform()
{
    static const fuzz::FuzzPlatform platform {MainLoop::Host};
    [[maybe_unused]] static const bool isStarted = (platform.startSDK(), true);
    return platform;
}

bool isSame(const Inbox& left, const Inbox& right)
{
    return std::ranges::equal(
        left, right, [](const auto& first, const auto& second) { return first.encode() == second.encode(); });
}

void write(const Inbox& inbox)
{
    NotificationStorage::setBuffer(inbox);
    require(isSame(NotificationStorage::buffer(), inbox));
}

// What is stored is one whole list with so many records.
void requireWhole(std::size_t records)
{
    const auto stored = UserDefaults::standard()->object(NotificationStorage::key);
    require(stored && stored->as<Data>());
    const auto list = PropertyListDecoder::decode(stored->as<Data>()->text());
    require(list && list->as<Value::Array>() && list->as<Value::Array>()->size() == records);
}

} // namespace

// The bytes stand where the inbox is stored. Reading leaves them alone; what cannot be read is an empty inbox; and
// after that a push, a reading and a deleting do what they would with any other.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const Value::Dictionary push {
        {"aps", Value::Dictionary {{"alert", "pão"}}}, {"custom", Value::Dictionary {{"i", "new"}}}};
    const Value stored {Data {std::string {reinterpret_cast<const char*>(bytes), size}}};
    (void)platform();
    UserDefaults::standard()->setObject(NotificationStorage::key, stored);

    auto inbox = NotificationStorage::buffer();
    require(NotificationStorage::totalUnreadNotifications()
        == static_cast<std::size_t>(std::ranges::count(inbox, false, &KovaNotification::read)));
    require(UserDefaults::standard()->object(NotificationStorage::key) == stored);

    platform().vendor->receive(push);
    DispatchQueue::drainMain();
    const auto pushed = NotificationStorage::buffer();
    require(pushed.size() == inbox.size() + 1 && pushed[0].notificationID == "new" && !pushed[0].read);
    require(isSame({pushed.begin() + 1, pushed.end()}, inbox));
    requireWhole(pushed.size());

    inbox = pushed;
    inbox.back().read = true;
    write(inbox);
    inbox.erase(inbox.begin());
    write(inbox);
    requireWhole(inbox.size());
    return 0;
}
