#include "Platform/Foundation/Bundle.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<Bundle> Bundle::main()
{
    return ServiceSlot<Bundle>::required(
        "the main bundle is missing: install a platform (a LinuxPlatform object in main) before the SDK is used");
}

std::shared_ptr<Bundle> Bundle::setMain(std::shared_ptr<Bundle> bundle)
{
    return ServiceSlot<Bundle>::exchange(std::move(bundle));
}

} // namespace kova
