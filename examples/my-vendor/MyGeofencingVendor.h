// Your geofencing vendor behind the SDK's interface.

#pragma once

#include <KovaSDK/KovaSDK.h>

class MyGeofencingVendor final : public kova::PlotDebug {
public:
    /// The delegate is the SDK's: it is not owned, and nobody is called once it is gone.
    void initializeWithLaunchOptions(
        const std::optional<kova::AnyDictionary>& launchOptions, std::weak_ptr<kova::PlotDelegate> delegate) override;
};
