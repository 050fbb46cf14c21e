#include "Platform/Foundation/UserDefaults.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<UserDefaults> UserDefaults::standard()
{
    return ServiceSlot<UserDefaults>::required("The user defaults");
}

std::shared_ptr<UserDefaults> UserDefaults::setStandard(std::shared_ptr<UserDefaults> defaults)
{
    return ServiceSlot<UserDefaults>::exchange(std::move(defaults));
}

} // namespace kova
