// The command line of kova-host.

#pragma once

#include "Platform/Foundation/ServiceAddresses.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace kova::host {

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Options {
    /// Whether to look for what is wrong instead of playing a host.
    bool doctor = false;
    /// Names the application whose store the doctor looks at.
    std::string identifier = "kova-host";
    /// How long the doctor waits for the network.
    double timeoutSeconds = 5;
    std::filesystem::path data;
    std::filesystem::path bundle;
    std::optional<std::string> eventsURL {};
    std::optional<std::string> metricsURL {};
    std::optional<std::string> geotriggersURL {};
    std::string network = "real";
    std::optional<std::filesystem::path> answers {};
    /// A file, or "-" for standard input; none: with a window there is no script, else it is standard input.
    std::optional<std::string> script {};
    /// Whether to draw the host's screen.
    bool window = false;
    /// Where to save what is seen after each line of the script.
    std::optional<std::filesystem::path> screenshots {};
    /// How long to wait after each line of the script.
    double pauseSeconds = 0;
    /// A folder of payload files that the shop offers to play.
    std::filesystem::path payloads {};
    bool wantsHelp = false;

    /// Those of the build, but for what the command line says.
    [[nodiscard]] ServiceAddresses serviceAddresses() const;

    /// Throws UsageError.
    [[nodiscard]] static Options parse(int argumentCount, char** arguments);
};

} // namespace kova::host
