// The geofencing vendor, as the SDK sees it: an adapter interface.
//
// A host on a real device implements it over its vendor's framework, in about one line an operation, and installs it
// with PlotDebug::setShared() before it starts geotriggers; the reference host has a simulated one. Threads: the vendor
// calls its delegate on any thread, usually one of its own.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kova {

/// The key in a geotrigger's user info under which the data stands that its sender attached; a text.
inline constexpr const char* PlotGeotriggerDataKey = "action";

/// One geotrigger that fired.
struct PlotGeotrigger {
    /// "identifier", "matchIdentifier", "message", "action" (see PlotGeotriggerDataKey), "trigger" ("enter" or "exit"),
    /// "geofenceLatitude", "geofenceLongitude", "matchRange" and "regionType". The vendor always sets it.
    std::optional<Value::Dictionary> userInfo {};
};

/// Geotriggers that fired together.
class KOVA_EXPORT PlotHandleGeotriggers {
public:
    /// In the order in which they fired; no element is null.
    using List = std::vector<std::shared_ptr<const PlotGeotrigger>>;

    virtual ~PlotHandleGeotriggers() = default;

    [[nodiscard]] virtual std::optional<List> geotriggers() const = 0;
    /// Tells the vendor which geotriggers it need not deliver again.
    virtual void markGeotriggersHandled(const std::optional<List>& geotriggers) = 0;
};

/// What the vendor starts with.
class KOVA_EXPORT PlotConfiguration {
public:
    virtual ~PlotConfiguration() = default;

    virtual void setPublicToken(const std::string& publicToken) = 0;
};

/// What the vendor calls. Its operations on notifications are optional, and the SDK implements none of them.
class KOVA_EXPORT PlotDelegate {
public:
    using ConfigurationLoaded = std::function<void(const std::shared_ptr<PlotConfiguration>&)>;

    virtual ~PlotDelegate() = default;

    /// Fills the configuration and hands it to `loadWithConfig`, before this returns.
    virtual void plotLoadConfig(
        const std::shared_ptr<PlotConfiguration>& configuration, const ConfigurationLoaded& loadWithConfig)
        = 0;
    virtual void plotHandleGeotriggers(const std::shared_ptr<PlotHandleGeotriggers>& geotriggers) = 0;
};

/// The vendor's entry. That it is the debug variant, and not the one for releases, is contract.
class KOVA_EXPORT PlotDebug {
public:
    virtual ~PlotDebug() = default;

    /// The process-wide adapter. The process stops, saying so, when the host has installed none.
    [[nodiscard]] static std::shared_ptr<PlotDebug> shared();

    /// Replaces the process-wide adapter (none is allowed) and returns the one before.
    static std::shared_ptr<PlotDebug> setShared(std::shared_ptr<PlotDebug> vendor);

    /// Starts the vendor. It does not own its delegate, keeps it alive for the length of a call, and calls nobody once
    /// it is gone. It may load its configuration before this returns.
    virtual void initializeWithLaunchOptions(
        const std::optional<AnyDictionary>& launchOptions, std::weak_ptr<PlotDelegate> delegate)
        = 0;
};

} // namespace kova
