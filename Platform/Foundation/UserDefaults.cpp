#include "Platform/Foundation/UserDefaults.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<UserDefaults> UserDefaults::standard()
{
    return ServiceSlot<UserDefaults>::required(
        "the user defaults are missing: install a platform (a LinuxPlatform object in main) before the SDK is used");
}

std::shared_ptr<UserDefaults> UserDefaults::setStandard(std::shared_ptr<UserDefaults> defaults)
{
    return ServiceSlot<UserDefaults>::exchange(std::move(defaults));
}

} // namespace kova
