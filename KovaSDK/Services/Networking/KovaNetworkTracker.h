// Follows the network: makes the reachability monitor, and on every change says the status and releases buffered events
// while the device is online.

#pragma once

#include "Platform/Foundation/DispatchQueue.h"

namespace kova {

class KovaNetworkTracker {
public:
    /// Makes the monitor for the build's host (the CMake cache variable KOVA_REACHABILITY_HOST), in place of any
    /// earlier one. When it cannot be made, that is logged, and nothing else happens. The monitor announces nothing
    /// while the result lives, so that a caller can register an observer of the first state.
    [[nodiscard]] static DispatchQueue::Suspension startNetworkTracker();

    /// Logs the status and, when it is `wifi` or `wwan`, releases the event buffer. Runs on the thread that announced
    /// the change. A missing monitor stops the process.
    static void checkNetworkStatus();
};

} // namespace kova
