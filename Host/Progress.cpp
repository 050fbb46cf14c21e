#include "Host/Progress.h"

#include "Host/Patience.h"
#include "Platform/Foundation/ThreadHook.h"

#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

namespace kova::host {

Progress::Progress(std::string what)
{
    if (isatty(STDERR_FILENO) == 0)
        return;
    m_thread = std::jthread {[patience = Patience {std::move(what)}](const std::stop_token& stop) mutable {
        announceThread("progress");
        std::mutex mutex;
        std::unique_lock lock {mutex};
        std::condition_variable_any never;
        (void)patience.wait(lock, never, stop, [] { return false; });
    }};
}

} // namespace kova::host
