// A child process that may start no threads.

#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace kova::tests {

/// The user that such a child becomes; root is never refused a thread.
inline constexpr uid_t userWithoutThreads = 65'534;

[[nodiscard]] inline bool canForbidThreads()
{
    return geteuid() == 0;
}

/// Runs the work in a child and returns how it ended, as waitpid() tells it: 0 when all went well. To be called by
/// root.
[[nodiscard]] inline int runWithoutThreads(const std::function<void()>& work)
{
    const auto child = fork();
    if (child == 0) {
        const rlimit none {.rlim_cur = 0, .rlim_max = 0};
        if (setuid(userWithoutThreads) != 0 || setrlimit(RLIMIT_NPROC, &none) != 0)
            _exit(1);
        work();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

} // namespace kova::tests
