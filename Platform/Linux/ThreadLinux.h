// What Linux does for a thread that the SDK starts.

#pragma once

#include "Platform/Foundation/ThreadHook.h"

namespace kova {

/// Names the calling thread (the kernel keeps 15 bytes), blocks all signals on it, so that the host's handlers run on
/// the host's threads, and lowers the priority of a background thread.
void prepareThreadOnLinux(std::string_view name, QualityOfService quality);

} // namespace kova
