#include "Platform/Foundation/ServiceAddresses.h"

#include <mutex>

namespace kova {

namespace {

struct Slot {
    std::mutex mutex;
    ServiceAddresses addresses = ServiceAddresses::builtIn();
};

Slot& slot()
{
    static auto& instance = *new Slot;
    return instance;
}

} // namespace

ServiceAddresses ServiceAddresses::builtIn()
{
    return {
        .eventsBaseURL = KOVA_EVENTS_BASE_URL,
        .metricsBaseURL = KOVA_METRICS_BASE_URL,
        .geotriggersBaseURL = KOVA_GEOTRIGGERS_BASE_URL,
    };
}

ServiceAddresses ServiceAddresses::current()
{
    const std::lock_guard lock {slot().mutex};
    return slot().addresses;
}

void ServiceAddresses::setCurrent(ServiceAddresses addresses)
{
    const std::lock_guard lock {slot().mutex};
    slot().addresses = std::move(addresses);
}

} // namespace kova
