#include "Platform/SystemConfiguration/NetworkReachability.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<NetworkReachability> NetworkReachability::shared()
{
    return ServiceSlot<NetworkReachability>::required("the reachability service is missing: install a platform (a "
                                                      "LinuxPlatform object in main) before the SDK is used");
}

std::shared_ptr<NetworkReachability> NetworkReachability::setShared(std::shared_ptr<NetworkReachability> service)
{
    return ServiceSlot<NetworkReachability>::exchange(std::move(service));
}

} // namespace kova
