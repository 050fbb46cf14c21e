#include "Platform/Linux/ThreadLinux.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <string>

namespace kova {

void prepareThreadOnLinux(std::string_view name, QualityOfService quality)
{
    constexpr std::size_t longestName = 15;
    pthread_setname_np(pthread_self(), std::string {name.substr(0, longestName)}.c_str());

    // Faults stay deliverable; a broken pipe on the network thread must not end the host.
    sigset_t signals {};
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
        sigdelset(&signals, fault);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    constexpr int backgroundNiceness = 10;
    if (quality == QualityOfService::Background)
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), backgroundNiceness);
}

} // namespace kova
