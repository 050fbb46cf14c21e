#include "Platform/Vendors/PlotProjects.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

std::shared_ptr<PlotDebug> PlotDebug::shared()
{
    return ServiceSlot<PlotDebug>::required(
        "the geofencing vendor's adapter is missing: call PlotDebug::setShared() before KovaGeotrigger is started");
}

std::shared_ptr<PlotDebug> PlotDebug::setShared(std::shared_ptr<PlotDebug> vendor)
{
    return ServiceSlot<PlotDebug>::exchange(std::move(vendor));
}

} // namespace kova
