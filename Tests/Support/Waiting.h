// Waiting for what no lock or signal tells of: another process's files, the state of the system.

#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace kova::tests {

/// Whether it comes true in time, by default within ten seconds.
[[nodiscard]] inline bool comesTrue(
    const std::function<bool()>& condition, std::chrono::milliseconds bound = std::chrono::seconds {10})
{
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds {1});
    }
    return true;
}

} // namespace kova::tests
