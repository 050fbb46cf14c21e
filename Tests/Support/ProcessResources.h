// What this process holds of the system: file descriptors, threads, memory.
//
// Read from /proc. Threads: any.

#pragma once

#include <cstddef>
#include <ostream>

namespace kova::tests {

struct ProcessResources {
    std::size_t fileDescriptors = 0;
    std::size_t threads = 0;
    std::size_t residentBytes = 0;
    /// The most that was ever resident.
    std::size_t peakResidentBytes = 0;

    [[nodiscard]] static ProcessResources now();

    /// Waits, at most ten seconds, until there are no more descriptors and threads than then: the kernel counts a
    /// thread for a moment after it has been joined. Returns what there is.
    [[nodiscard]] static ProcessResources afterReturningTo(const ProcessResources& before);
};

std::ostream& operator<<(std::ostream& stream, const ProcessResources& resources);

} // namespace kova::tests
