#include "Host/Interruption.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace kova::host {

Interruption::Interruption()
    : m_interrupted(eventfd(0, EFD_CLOEXEC))
    , m_ended(eventfd(0, EFD_CLOEXEC))
{
    sigset_t signals {};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    m_signals = signalfd(-1, &signals, SFD_CLOEXEC);
    // A reader of the log that goes away must not end the host.
    std::signal(SIGPIPE, SIG_IGN);
    m_watcher = std::thread {[this] { watch(); }};
}

Interruption::~Interruption()
{
    eventfd_write(m_ended, 1);
    m_watcher.join();
    for (const int descriptor : {m_signals, m_interrupted, m_ended})
        close(descriptor);
}

void Interruption::watch()
{
    pthread_setname_np(pthread_self(), "signals");
    std::array waited {pollfd {.fd = m_signals, .events = POLLIN, .revents = 0},
        pollfd {.fd = m_ended, .events = POLLIN, .revents = 0}};
    while (poll(waited.data(), waited.size(), -1) < 0 && errno == EINTR) { }
    if (waited[0].revents != 0) {
        eventfd_write(m_interrupted, 1);
        m_source.request_stop();
    }
}

} // namespace kova::host
