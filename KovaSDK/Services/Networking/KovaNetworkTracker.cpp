#include "KovaSDK/Services/Networking/KovaNetworkTracker.h"

#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/Print.h"

namespace kova {

DispatchQueue::Suspension KovaNetworkTracker::startNetworkTracker()
{
    auto queue = Reachability::createQueue();
    DispatchQueue::Suspension suspension {queue};
    try {
        KovaNetwork::setReachability(Reachability::create(KOVA_REACHABILITY_HOST, std::move(queue)));
    } catch (const std::exception& error) {
        print(error.what());
    }
    return suspension;
}

void KovaNetworkTracker::checkNetworkStatus()
{
    print("NETWORK : Updating network status");
    if (KovaNetwork::status() != KovaNetwork::Status::unreachable)
        EventStorage {}.releaseEvents();
    print("NETWORK : Reachability Summary");
    print("NETWORK : Status:", rawValue(KovaNetwork::status()));
}

} // namespace kova
