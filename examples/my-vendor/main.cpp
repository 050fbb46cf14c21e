// A host that brings its own vendors: start from these adapters, and replace Frameworks.h by what you have.

#include "Frameworks.h"
#include "MyGeofencingVendor.h"
#include "MyPushVendor.h"

#include <chrono>

int main()
{
    const kova::LinuxPlatform platform {{.bundleIdentifier = "example.my-vendor"}};
    kova::OneSignal::setShared(std::make_shared<MyPushVendor>());
    kova::PlotDebug::setShared(std::make_shared<MyGeofencingVendor>());

    kova::KovaNotify::initWithCallbacks(std::nullopt);
    const auto geotrigger = std::make_shared<kova::KovaGeotrigger>(std::nullopt);
    geotrigger->start();

    // A host with a main loop runs it here. What calls the SDK ends before the platform does.
    frameworks::Push::stop();
    frameworks::Geofencing::stop();
    return platform.settle(std::chrono::seconds {30}) ? 0 : 1;
}
