// How much a load test does, a little in the suite and all of it when the environment asks for it, and what its figures
// are worth.
//
//     KOVA_LOAD_SECONDS=60 build/tsan/bin/load-tests --gtest_filter='EightThreads*'
//     KOVA_LOAD_FULL=1 build/dev/bin/load-tests

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdlib>

namespace kova::tests {

/// How long a test goes on that goes on for a time.
[[nodiscard]] inline std::chrono::seconds loadTime()
{
    const auto* seconds = std::getenv("KOVA_LOAD_SECONDS");
    return std::chrono::seconds {seconds ? std::atoi(seconds) : 1};
}

/// How often a test does what it does.
[[nodiscard]] inline int loadCount(int inTheSuite, int inFull)
{
    return std::getenv("KOVA_LOAD_FULL") ? inFull : inTheSuite;
}

/// Sanitizers keep what is freed, so that memory says nothing then, and everything takes many times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool memoryTells = false;
inline constexpr std::chrono::milliseconds promptly {1'000};
#else
inline constexpr bool memoryTells = true;
inline constexpr std::chrono::milliseconds promptly {50};
#endif

/// The threads of a process in which all that were started have ended. The thread sanitizer keeps one for itself from
/// then on.
#if defined(__SANITIZE_THREAD__)
inline constexpr std::size_t threadsAtRest = 2;
#else
inline constexpr std::size_t threadsAtRest = 1;
#endif

} // namespace kova::tests
