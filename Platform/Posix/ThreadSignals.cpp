#include "Platform/Posix/ThreadSignals.h"

#include <pthread.h>

#include <csignal>
#include <initializer_list>

namespace kova {

void blockSignals()
{
    sigset_t signals {};
    sigfillset(&signals);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
        sigdelset(&signals, fault);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace kova
