#include "Platform/Linux/ThreadLinux.h"

#include "Platform/Posix/ThreadSignals.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>

namespace kova {

void prepareThreadOnLinux(std::string_view name, QualityOfService quality)
{
    constexpr std::size_t longestName = 15;
    pthread_setname_np(pthread_self(), std::string {name.substr(0, longestName)}.c_str());

    blockSignals();

    constexpr int backgroundNiceness = 10;
    if (quality == QualityOfService::Background)
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), backgroundNiceness);
}

} // namespace kova
