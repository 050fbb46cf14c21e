#include "Platform/Linux/HostResolver.h"

#include <ares.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/time.h>

#include <cstring>
#include <utility>

namespace kova {

namespace {

// Initialised once and never ended: the library then has nothing to free.
bool isLibraryReady()
{
    static const bool isReady = ares_library_init(ARES_LIB_INIT_ALL) == ARES_SUCCESS;
    return isReady;
}

std::vector<HostAddress> addressesOf(const ares_addrinfo& result)
{
    std::vector<HostAddress> addresses;
    for (const auto* node = result.nodes; node; node = node->ai_next) {
        HostAddress address;
        if (node->ai_family == AF_INET) {
            const auto& socketAddress = *reinterpret_cast<const sockaddr_in*>(node->ai_addr);
            std::memcpy(address.bytes.data(), &socketAddress.sin_addr, address.size());
        } else if (node->ai_family == AF_INET6) {
            const auto& socketAddress = *reinterpret_cast<const sockaddr_in6*>(node->ai_addr);
            address.family = HostAddress::Family::v6;
            std::memcpy(address.bytes.data(), &socketAddress.sin6_addr, address.size());
        } else {
            continue;
        }
        addresses.push_back(address);
    }
    return addresses;
}

void finish(void* argument, int status, int /*timeouts*/, ares_addrinfo* result)
{
    const std::unique_ptr<HostResolver::Completion> completion {static_cast<HostResolver::Completion*>(argument)};
    std::vector<HostAddress> addresses;
    if (result) {
        addresses = addressesOf(*result);
        ares_freeaddrinfo(result);
    }
    if (status != ARES_ECANCELLED && status != ARES_EDESTRUCTION)
        (*completion)(std::move(addresses));
}

} // namespace

void HostResolver::Close::operator()(ares_channeldata* channel) const
{
    ares_destroy(channel);
}

HostResolver::HostResolver(std::string nameServers)
    : m_nameServers(std::move(nameServers))
{
}

bool HostResolver::open()
{
    if (m_channel)
        return true;
    ares_options options {};
    options.sock_state_cb_data = this;
    options.sock_state_cb = [](void* self, ares_socket_t socket, int reads, int writes) {
        static_cast<HostResolver*>(self)->watch(socket, reads != 0, writes != 0);
    };
    ares_channel channel = nullptr;
    if (!isLibraryReady() || ares_init_options(&channel, &options, ARES_OPT_SOCK_STATE_CB) != ARES_SUCCESS)
        return false;
    m_channel.reset(channel);
    if (m_nameServers.empty() || ares_set_servers_ports_csv(channel, m_nameServers.c_str()) == ARES_SUCCESS)
        return true;
    m_channel.reset();
    return false;
}

void HostResolver::watch(int socket, bool reads, bool writes)
{
    if (reads || writes)
        m_events[socket] = static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
    else
        m_events.erase(socket);
}

void HostResolver::resolve(const std::string& name, Completion completion)
{
    if (!open())
        return completion({});
    ares_addrinfo_hints hints {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    ares_getaddrinfo(m_channel.get(), name.c_str(), nullptr, &hints, &finish,
        std::make_unique<Completion>(std::move(completion)).release());
}

void HostResolver::restart()
{
    m_channel.reset();
}

void HostResolver::appendDescriptors(std::vector<pollfd>& descriptors) const
{
    for (const auto& [socket, events] : m_events)
        descriptors.push_back({.fd = socket, .events = events, .revents = 0});
}

std::optional<std::chrono::milliseconds> HostResolver::timeout() const
{
    timeval left {};
    if (!m_channel || !ares_timeout(m_channel.get(), nullptr, &left))
        return std::nullopt;
    return std::chrono::ceil<std::chrono::milliseconds>(
        std::chrono::seconds {left.tv_sec} + std::chrono::microseconds {left.tv_usec});
}

void HostResolver::process(std::span<const pollfd> descriptors)
{
    if (!m_channel)
        return;
    ares_process_fd(m_channel.get(), ARES_SOCKET_BAD, ARES_SOCKET_BAD);
    for (const auto& descriptor : descriptors) {
        const auto ready = descriptor.revents;
        if (ready != 0) {
            // An error shows when the socket is read, or written where only that was wanted.
            const bool reads = (descriptor.events & POLLIN) != 0 && (ready & ~POLLOUT) != 0;
            const bool writes = (descriptor.events & POLLOUT) != 0 && (ready & ~POLLIN) != 0;
            ares_process_fd(
                m_channel.get(), reads ? descriptor.fd : ARES_SOCKET_BAD, writes ? descriptor.fd : ARES_SOCKET_BAD);
        }
    }
}

} // namespace kova
