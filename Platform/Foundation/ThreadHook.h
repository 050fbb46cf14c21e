// How the threads that the SDK starts get a name and a priority: each announces itself, and the platform does the rest.

#pragma once

#include "Platform/Foundation/Export.h"

#include <string_view>

namespace kova {

enum class QualityOfService { Unspecified, Background };

/// Runs on a new thread before anything else does. It gives the thread the name and a priority that fits, and keeps the
/// host's signal handlers from running on it.
using ThreadHook = void (*)(std::string_view name, QualityOfService quality);

/// Replaces the hook; null, as it is at first, leaves threads as the standard library made them.
KOVA_EXPORT void setThreadHook(ThreadHook hook);

/// To be called first thing on every thread that is started here.
KOVA_EXPORT void announceThread(std::string_view name, QualityOfService quality = QualityOfService::Unspecified);

} // namespace kova
