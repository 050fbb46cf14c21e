// Where the web services of the SDK live.
//
// The addresses are fixed when the libraries are built (the CMake cache variables KOVA_EVENTS_BASE_URL,
// KOVA_METRICS_BASE_URL and KOVA_GEOTRIGGERS_BASE_URL). Only the platform object replaces them at run time, which is
// how a development host reaches a server of its own; no environment variable can redirect a shipped application.

#pragma once

#include "Platform/Foundation/Export.h"

#include <string>

namespace kova {

struct KOVA_EXPORT ServiceAddresses {
    /// The addresses of this build.
    [[nodiscard]] static ServiceAddresses builtIn();
    /// The addresses in force: those of the build until a platform object replaces them.
    [[nodiscard]] static ServiceAddresses current();
    static void setCurrent(ServiceAddresses addresses);

    /// Base URLs, each with the "/" it ends in; events and metrics end in "/v2/", geotriggers in "/v1/geotriggers/".
    std::string eventsBaseURL;
    std::string metricsBaseURL;
    std::string geotriggersBaseURL;
};

} // namespace kova
