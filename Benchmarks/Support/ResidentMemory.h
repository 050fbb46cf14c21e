// How much memory of this process the system holds, shared libraries included.

#pragma once

#include <unistd.h>

#include <cstdio>

namespace kova::benchmarks {

[[nodiscard]] inline double residentKiB()
{
    long total = 0;
    long resident = 0;
    // Not by a stream: its locale would be resident, too.
    if (std::FILE* const file = std::fopen("/proc/self/statm", "re")) {
        if (std::fscanf(file, "%ld %ld", &total, &resident) != 2)
            resident = 0;
        std::fclose(file);
    }
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}

} // namespace kova::benchmarks
