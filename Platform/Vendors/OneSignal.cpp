#include "Platform/Vendors/OneSignal.h"

#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::string description(const OSNotification& notification)
{
    if (!notification.payload)
        return "<OSNotification: no payload>";
    return "<OSNotification: " + singleLine(notification.payload->notificationID.value_or("no id")) + ">";
}

std::shared_ptr<OneSignal> OneSignal::shared()
{
    return ServiceSlot<OneSignal>::required(
        "the push vendor's adapter is missing: call OneSignal::setShared() before KovaNotify is used");
}

std::shared_ptr<OneSignal> OneSignal::setShared(std::shared_ptr<OneSignal> vendor)
{
    return ServiceSlot<OneSignal>::exchange(std::move(vendor));
}

} // namespace kova
