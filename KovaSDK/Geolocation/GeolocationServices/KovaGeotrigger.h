// Connects the SDK to the geofencing vendor: its delegate from start() on.
//
// The host installs a platform and the vendor's adapter (see PlotDebug::setShared), makes one KovaGeotrigger with
// std::make_shared, calls start() once, and keeps the object for the life of the process: the vendor does not. Threads:
// any; nothing changes after the object is made, and the vendor's calls may overlap.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Vendors/PlotProjects.h"

#include <memory>
#include <optional>

namespace kova {

class KOVA_EXPORT KovaGeotrigger : public PlotDelegate, public std::enable_shared_from_this<KovaGeotrigger> {
public:
    /// Not available: stops the process. Without launch options std::nullopt or {} is to be passed.
    explicit KovaGeotrigger();
    explicit KovaGeotrigger(std::optional<AnyDictionary> hostLaunchOptions);
    // Never copied. That the parameter is not const keeps {} from being taken for an object to copy.
    KovaGeotrigger(KovaGeotrigger&) = delete;
    KovaGeotrigger& operator=(const KovaGeotrigger&) = delete;

    /// Starts the vendor with the launch options and with this object as its delegate. When no std::shared_ptr holds
    /// the object, the process stops.
    void start();

    /// The vendor loads its configuration: sets the public token to the configured geolocation id and calls
    /// `loadWithConfig` once, before this returns. Without either the process stops.
    void plotLoadConfig(
        const std::shared_ptr<PlotConfiguration>& configuration, const ConfigurationLoaded& loadWithConfig) override;

    /// Geotriggers fired: each is handled, and in the end all are marked handled, also those that were skipped. Without
    /// a batch, or its geotriggers, the process stops.
    void plotHandleGeotriggers(const std::shared_ptr<PlotHandleGeotriggers>& geotriggers) override;

    const std::optional<AnyDictionary> launchOptions;
};

} // namespace kova
