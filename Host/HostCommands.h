// The commands of a host script: what a line with this "do" makes the host do.

#pragma once

#include "Host/Answers.h"
#include "Host/HostWindow.h"
#include "Host/ScriptCommand.h"
#include "Host/SimulatedNetwork.h"
#include "Host/SimulatedOneSignal.h"
#include "Host/SimulatedPlotProjects.h"
#include "KovaSDK/Geolocation/GeolocationServices/KovaGeotrigger.h"
#include "Platform/Platform.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <stop_token>

namespace kova::host {

/// What commands work on. Lives as long as the script runs.
struct HostContext {
    DevicePlatform& platform;
    SimulatedOneSignal& vendor;
    SimulatedPlotProjects& geofencing;
    HostWindow& window;
    /// Null when the host follows the real network.
    SimulatedNetwork* network;
    Answers& answers;
    std::stop_token interruption;
    /// The folder for a picture of the window after each line of the script; none: no pictures.
    std::optional<std::filesystem::path> screenshots {};
    double pauseSeconds = 0;
    /// The one that a script has started, which its host has to keep.
    std::shared_ptr<KovaGeotrigger> geotrigger {};
};

/// Thrown by "settle" when work is still under way at its deadline.
class NotSettled : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct HostCommand {
    enum class Place {
        /// The main queue, where a host's code usually runs.
        MainQueue,
        /// The thread that reads the script, because the command waits for the main queue.
        ScriptThread,
    };

    const char* name;
    const char* fields;
    const char* help;
    Place place;
    /// Throws ScriptError or NotSettled.
    void (*run)(const ScriptCommand& command, HostContext& context);
};

[[nodiscard]] std::span<const HostCommand> hostCommands();

/// How long a settle takes at most when a script does not say.
inline constexpr double defaultSettleSeconds = 15;

/// Waits until everything is quiet, or the host is interrupted; throws NotSettled after so many seconds.
void settle(HostContext& context, double seconds);

} // namespace kova::host
