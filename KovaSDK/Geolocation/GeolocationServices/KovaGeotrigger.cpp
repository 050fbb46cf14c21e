#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"

#include "KovaSDK/Extensions/String.h"
#include "KovaSDK/Geolocation/GeolocationServices/GeotriggerHandler.h"
#include "KovaSDK/KovaKeysManager.h"
#include "Platform/Foundation/Print.h"

namespace kova {

KovaGeotrigger::KovaGeotrigger()
{
    fatalError("Use of unimplemented initializer 'init()' for class 'KovaSDK.KovaGeotrigger'");
}

KovaGeotrigger::KovaGeotrigger(std::optional<AnyDictionary> hostLaunchOptions)
    : launchOptions(std::move(hostLaunchOptions))
{
    print("GEOTRIGGER : Geotrigger initialized 1");
}

void KovaGeotrigger::start()
{
    const auto self = weak_from_this();
    if (self.expired())
        fatalError("KovaGeotrigger must be made with std::make_shared: the geofencing vendor refers to its delegate");
    PlotDebug::shared()->initializeWithLaunchOptions(launchOptions, self);
}

void KovaGeotrigger::plotLoadConfig(
    const std::shared_ptr<PlotConfiguration>& configuration, const ConfigurationLoaded& loadWithConfig)
{
    if (!configuration)
        fatalError("plotLoadConfig got no configuration: the geofencing vendor's adapter must pass one");
    configuration->setPublicToken(KovaKeyManager {}.get(KovaKey::geoID));
    if (!loadWithConfig)
        fatalError("plotLoadConfig got no completion: the geofencing vendor's adapter must pass one");
    loadWithConfig(configuration);
}

void KovaGeotrigger::plotHandleGeotriggers(const std::shared_ptr<PlotHandleGeotriggers>& geotriggers)
{
    if (!geotriggers)
        fatalError("plotHandleGeotriggers got no batch: the geofencing vendor's adapter must pass one");
    const auto fired = geotriggers->geotriggers();
    if (!fired)
        fatalError("a batch has no geotriggers: the geofencing vendor's adapter must set them");
    for (const auto& geotrigger : *fired) {
        if (!geotrigger)
            fatalError("a batch has a null among its geotriggers: the geofencing vendor's adapter must not pass one");
        handleGeotrigger(*geotrigger, &toJSON);
    }
    // Asked again: what the batch has by now, if anything, is what is marked.
    geotriggers->markGeotriggersHandled(geotriggers->geotriggers());
    print("GEOTRIGGER : handled geotrigger");
}

} // namespace kova
