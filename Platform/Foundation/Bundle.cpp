#include "Platform/Foundation/Bundle.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<Bundle> Bundle::main()
{
    return ServiceSlot<Bundle>::required("The main bundle");
}

std::shared_ptr<Bundle> Bundle::setMain(std::shared_ptr<Bundle> bundle)
{
    return ServiceSlot<Bundle>::exchange(std::move(bundle));
}

} // namespace kova
